#include "layout.h"

#include <fmt/format.h>

#include <stdexcept>

namespace bench {
namespace {

constexpr int kFirstVlan = 100;
constexpr int kLevels = 8;
constexpr const char* kBegin = R"(<config xmlns="urn:element:yang:cfm"><oam><cfm>)";
constexpr const char* kEnd = "</cfm></oam></config>";

std::string MdName(int ma) {
  return fmt::format("md{:03}", ma / Layout::kMasPerMd);
}

std::string MaName(int ma) {
  return fmt::format("ma{:03}", ma);
}

std::string MaElement(int ma) {
  std::string xml = fmt::format(
      "<ma><id>{}</id><ccm-interval>10min</ccm-interval>"
      "<primary-vlan-id>{}</primary-vlan-id><vlan-list>{}</vlan-list>",
      MaName(ma), kFirstVlan + ma, kFirstVlan + ma);
  for (int id = Layout::kLocalMepsPerMa + 1; id <= Layout::kMepsPerMa; ++id) {
    xml += fmt::format("<remote-meps>{}</remote-meps>", id);
  }
  for (int id = 1; id <= Layout::kLocalMepsPerMa; ++id) {
    xml += fmt::format(
        "<mep><id>{}</id><interface>eth{}</interface><direction>down</direction>"
        "<continuity-check><cci-enabled/></continuity-check></mep>",
        id, id - 1);
  }
  return xml + "</ma>";
}

std::string MdHead(int ma) {
  return fmt::format("<md><id>{}</id><level>{}</level>", MdName(ma),
                     ma / Layout::kMasPerMd % kLevels);
}

}  // namespace

Layout::Layout(int records) : records_(records) {
  if (records <= 0 || records > kMostRecords || records % kMepsPerMa != 0) {
    throw std::invalid_argument(
        fmt::format("{} records: the number must be a multiple of {} from {} to {}", records,
                    kMepsPerMa, kMepsPerMa, kMostRecords));
  }
}

std::string Layout::Document() const {
  std::string xml = kBegin;
  for (int ma = 0; ma < Mas(); ++ma) {
    if (ma % kMasPerMd == 0) {
      xml += (ma == 0 ? "" : "</md>") + MdHead(ma);
    }
    xml += MaElement(ma);
  }
  return xml + "</md>" + kEnd;
}

std::string Layout::MaDocument(int ma) const {
  return kBegin + MdHead(ma) + MaElement(ma) + "</md>" + kEnd;
}

std::string Layout::MaPath(int ma) const {
  return fmt::format("/config/oam/cfm/md[id='{}']/ma[id='{}']", MdName(ma), MaName(ma));
}

std::string Layout::LeafPath() const {
  return MaPath(Mas() / 2) + "/mep[id='1']/continuity-check/fault-alarm-time";
}

std::vector<cfm::RecordName> Layout::RecordNames() const {
  std::vector<cfm::RecordName> names;
  for (int ma = 0; ma < Mas(); ++ma) {
    for (std::uint16_t id = 1; id <= kMepsPerMa; ++id) {
      const bool is_local = id <= kLocalMepsPerMa;
      names.push_back({.md = MdName(ma),
                       .ma = MaName(ma),
                       .mep = is_local ? id : std::uint16_t{1},
                       .remote = is_local ? std::uint16_t{0} : id});
    }
  }
  return names;
}

}  // namespace bench
