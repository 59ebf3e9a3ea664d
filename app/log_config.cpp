// What the element's log and web-configuration tools learn about the daemon.
// They look these callouts up by name in the running program; the tables are
// theirs to interpret.
#include <elem_log_cfg.h>

namespace {

constexpr int kBaseClass = 100;

const ElemWebCfgCategory kWebCategories[] = {
    {"Application Commands", "user", {0, 0, 0}},
    {"Element Commands", "element", {0, 1, 1}},
    {"Element Internal Commands", "debug", {2, 2, 1}},
};

const ElemLogCfgLogHandle kLogHandles[] = {
    {"userLog", "UserLog", {2, -1, 50, 1, 10, 1}},
    {"devLog", "DeveloperLog", {2, -1, 50, 1, 10, 1}},
    {"remoteUserLog", "RemoteUserLog", {4, -1, 0, 0, 0, 1}},
};

const ElemLogCfgField kLogFields[] = {
    {0, "class", "component", "Component", "Component", {0, 0, 0, 1, 0, 1, 0, 0, 0, 0}},
    {1, "subclass", "messageID", "MessageID", "MSG_ID", {0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
};

const ElemLogCfgRecord kLogConfiguration = {
    {3, 7, 3, kBaseClass, 1}, kLogHandles, kLogFields, nullptr};

}  // namespace

extern "C" {

const ElemWebCfgCategory* ElemWebCfgGetCategories() {
  return kWebCategories;
}

int ElemWebCfgGetNumCategories() {
  return sizeof(kWebCategories) / sizeof(kWebCategories[0]);
}

int ElemLogCfgGetBaseClass() {
  return kBaseClass;
}

// Translates the components' class ids in place, at every call.
void* ElemLogCfgGetHandle() {
  if (ElemLogCfgComponents != nullptr) {
    for (ElemLogCfgComponent* row = ElemLogCfgComponents; row->name != nullptr; ++row) {
      row->class_id = ElemLogCfgGetActualClass(row->class_id);
    }
  }
  return ElemLogCfgPopulate(&kLogConfiguration, &ElemLogCfgComponents);
}

const char* ElemLogCfgCalloutGetClassName(int class_id) {
  if (ElemLogCfgComponents == nullptr) {
    return nullptr;
  }
  for (const ElemLogCfgComponent* row = ElemLogCfgComponents; row->name != nullptr; ++row) {
    if (row->class_id == class_id) {
      return row->display_name;
    }
  }
  return nullptr;
}

}  // extern "C"
