// What the agent sends to a program on the ConfD API: names, data to read
// ahead, changes to walk.
#include <agent.pb.h>
#include <confd_cdb.h>

#include <memory>

#include "confd_client/diff_walk.h"
#include "confd_client/error.h"
#include "confd_client/names.h"
#include "confd_client/read_cache.h"
#include "confd_client/wire_value.h"
#include "frame.h"
#include "input.h"

namespace {

confd::Step Named(const char* name) {
  confd::Step step;
  step.name = name;
  return step;
}

confd::Step Entry(const char* name, const char* key) {
  confd::Step step = Named(name);
  step.keys.push_back({.text = key});
  return step;
}

confd::Step At(const char* name, std::uint32_t position) {
  confd::Step step = Named(name);
  step.position = position;
  return step;
}

const confd::Path kList = {Named("config"), Named("oam"), Named("cfm"), Named("md")};

const confd::Path kReads[] = {
    kList,
    {Named("config"), Named("oam"), Named("cfm"), Entry("md", "a"), Named("level")},
    {Named("config"), Named("oam"), Named("cfm"), At("md", 0), At("ma", 1), At("mep", 2)},
    {Named("config"), Named("oam"), Named("cfm"), Entry("md", "a"), Entry("ma", "b"),
     Entry("mep", "1"), Named("continuity-check")},
};

void Read(const cfm::agent::DataNode& data) {
  confd::ReadCache cache;
  cache.Add(std::make_unique<cfm::agent::DataNode>(data));
  for (const confd::Path& path : kReads) {
    for (const auto asked : {confd::ReadCache::Asked::kNotYet, confd::ReadCache::Asked::kFetched}) {
      const confd::Finding found = cache.Find(path, asked);
      if (found.verdict == confd::Finding::Verdict::kFound && found.data == nullptr) {
        __builtin_trap();
      }
      cache.Count(path, asked);
    }
  }
}

// Looks at everything that it is given.
confd_iter_ret Look(confd_hkeypath_t* keypath, confd_iter_op op, confd_value_t* old_value,
                    confd_value_t* new_value, void* /*state*/) {
  char text[512];
  confd_pp_kpath(text, sizeof text, keypath);
  for (const confd_value_t* value : {old_value, new_value}) {
    if (value != nullptr) {
      confd_pp_value(text, sizeof text, value);
    }
  }
  if (keypath->len < 1 || keypath->len > MAXDEPTH) {
    __builtin_trap();
  }
  return op == MOP_DELETED ? ITER_CONTINUE : ITER_RECURSE;
}

void Walk(const cfm::agent::Change& root) {
  static const confd::Names kNames = [] {
    confd::Names names;
    std::uint32_t tag = 0;
    for (const char* name : {"config", "oam", "cfm", "md", "ma", "mep", "level"}) {
      names.Learn(++tag, name);
    }
    return names;
  }();
  confd::DiffWalk(kNames, kList, 1, ITER_WANT_PREV, Look, nullptr).Run(root);
}

void Take(std::string_view payload) {
  cfm::agent::FromAgent message;
  ipc::ParsePayload(payload, message);
  if (message.has_reply() && message.reply().has_data()) {
    Read(message.reply().data());
  }
  if (message.has_notification()) {
    Walk(message.notification().root());
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::Input input(data, size);
  ipc::FrameDecoder decoder;
  decoder.Append(input.Rest());
  while (true) {
    try {
      const auto payload = decoder.Next();
      if (!payload) {
        return 0;
      }
      Take(*payload);
    } catch (const ipc::ProtocolError&) {
      return 0;
    } catch (const confd::ApiError&) {
    }
  }
}
