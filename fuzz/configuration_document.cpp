// Configuration files in XML and JSON, merged into an empty configuration.
#include <agent.pb.h>

#include "document.h"
#include "draft.h"
#include "edit.h"
#include "input.h"
#include "model.h"
#include "validation.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto& model = *new agentd::Model(CFM_MODEL_DIR);
  fuzz::Input input(data, size);
  const auto format =
      input.Take<std::uint8_t>() % 2 == 0 ? cfm::agent::FORMAT_XML : cfm::agent::FORMAT_JSON;
  const std::string text(input.Rest());
  if (!agentd::ParseDocument(model, text, format)) {
    return 0;
  }
  // What can be read can be merged, whatever else it lacks.
  cfm::agent::Edit edit;
  cfm::agent::EditOperation& operation = *edit.add_operations();
  operation.set_document(text);
  operation.set_format(format);
  agentd::Tree empty;
  agentd::AddImplicitNodes(model, empty);
  agentd::Draft draft(
      model, std::make_shared<const agentd::Snapshot>(0, std::move(empty), agentd::Usage()));
  agentd::ApplyEdits(model, draft, edit);
  return 0;
}
