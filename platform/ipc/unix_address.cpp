#include "unix_address.h"

#include <cerrno>
#include <string>
#include <system_error>

namespace ipc {

UnixAddress::UnixAddress(const std::filesystem::path& path) {
  const std::string& text = path.native();
  if (text.size() >= sizeof(address.sun_path)) {
    throw std::system_error(ENAMETOOLONG, std::system_category(),
                            "socket path '" + text + "' (a shorter directory is needed)");
  }
  address.sun_family = AF_UNIX;
  text.copy(address.sun_path, text.size());
}

}  // namespace ipc
