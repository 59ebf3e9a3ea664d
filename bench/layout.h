// A configuration of N status records, as an operator of an element with ten
// ports would spread them: each MA has twenty MEPs, one on each port of this
// element and ten elsewhere, and each MD has five MAs. So half of the records
// are of local MEPs, half of remote ones, and every local MEP sees ten remote
// MEPs. CCMs are sent every ten minutes, so that no traffic disturbs.
#ifndef BENCH_LAYOUT_H
#define BENCH_LAYOUT_H

#include <string>
#include <vector>

#include "status_codec.h"

namespace bench {

class Layout {
 public:
  static constexpr int kMepsPerMa = 20;
  static constexpr int kLocalMepsPerMa = 10;
  static constexpr int kMasPerMd = 5;
  static constexpr int kMostRecords = 8180;

  // A positive multiple of kMepsPerMa, at most kMostRecords; else throws
  // std::invalid_argument.
  explicit Layout(int records);

  int Records() const { return records_; }
  int Mas() const { return records_ / kMepsPerMa; }

  // The whole configuration as an XML document.
  std::string Document() const;
  // A document of one MA, 0..Mas()-1, and its MD.
  std::string MaDocument(int ma) const;
  // Instance path of an MA.
  std::string MaPath(int ma) const;
  // Instance path of a leaf of one MEP in the middle whose value may be any
  // number from 2500 to 10000.
  std::string LeafPath() const;

  // The record of each MEP; that of a remote one as the first local MEP of its
  // MA sees it.
  std::vector<cfm::RecordName> RecordNames() const;

 private:
  int records_;
};

}  // namespace bench

#endif
