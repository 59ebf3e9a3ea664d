// Frames from the wire: what decodes as a CCM encodes and decodes again as the
// same CCM.
#include "ccm.h"

#include "cfm_frame.h"
#include "input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace cfm::engine;
  const auto frame = ParseCfmFrame({data, size});
  if (!frame) {
    return 0;
  }
  const auto decoded = DecodeCcm(*frame);
  const Ccm* ccm = std::get_if<Ccm>(&decoded);
  if (ccm == nullptr || ccm->sender_id.size() > kLongestSenderId) {
    return 0;
  }
  const Bytes again = EncodeCcm(*ccm, {}, 1);
  const auto parsed = ParseCfmFrame(again);
  if (!parsed) {
    __builtin_trap();
  }
  const auto twice = DecodeCcm(*parsed);
  const Ccm* same = std::get_if<Ccm>(&twice);
  if (same == nullptr || same->mep_id != ccm->mep_id || same->maid != ccm->maid ||
      same->level != ccm->level || same->rdi != ccm->rdi) {
    __builtin_trap();
  }
  return 0;
}
