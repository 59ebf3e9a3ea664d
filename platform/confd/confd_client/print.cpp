// confd_pp_kpath and confd_pp_value.
#include <confd_lib.h>

#include <algorithm>
#include <cstdio>

#include "confd_client/error.h"
#include "confd_client/names.h"
#include "confd_client/value_text.h"

namespace confd {
namespace {

int Print(char* buffer, int size, const std::string& text) {
  if (buffer != nullptr && size > 0) {
    const std::size_t length = std::min(text.size(), static_cast<std::size_t>(size) - 1);
    std::copy_n(text.begin(), length, buffer);
    buffer[length] = '\0';
  }
  return static_cast<int>(text.size());
}

std::string KeysText(const confd_value_t* keys, const Names& names) {
  std::string text = "{";
  for (int i = 0; i < MAXKEYLEN && keys[i].type != C_NOEXISTS; ++i) {
    text += (i == 0 ? "" : " ") + QuotedKey(ValueText(keys[i], names));
  }
  return text + "}";
}

std::string KeypathText(const confd_hkeypath_t& path, const Names& names) {
  std::string text;
  for (int i = std::clamp(path.len, 0, MAXDEPTH) - 1; i >= 0; --i) {
    const confd_value_t& first = path.v[i][0];
    text += first.type == C_XMLTAG ? "/" + TagText(first.val.xmltag.tag, names)
                                   : KeysText(path.v[i], names);
  }
  return text.empty() ? "/" : text;
}

}  // namespace
}  // namespace confd

extern "C" {

int confd_pp_kpath(char* buf, int bufsiz, const confd_hkeypath_t* hkeypath) {
  return confd::Guarded([&] {
    return confd::Print(
        buf, bufsiz,
        hkeypath == nullptr ? "" : confd::KeypathText(*hkeypath, confd::SchemaNames()));
  });
}

int confd_pp_value(char* buf, int bufsiz, const confd_value_t* v) {
  return confd::Guarded([&] {
    return confd::Print(buf, bufsiz,
                        v == nullptr ? "" : confd::ValueText(*v, confd::SchemaNames()));
  });
}

}  // extern "C"
