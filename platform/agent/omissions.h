// What a read left out, and why, as warnings: one a cause, however many leaves
// and entries.
#ifndef AGENT_OMISSIONS_H
#define AGENT_OMISSIONS_H

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace agentd {

// "1 entry", "2 entries"
std::string CountOf(std::size_t entries);

class Omissions {
 public:
  // `entry` is a number that stands for one entry.
  void Add(const std::string& cause, const std::string& leaf, std::size_t entry);
  // "cause: left out level, direction of 5 entries"
  std::vector<std::string> Warnings() const;
  void Clear() { causes_.clear(); }

 private:
  struct LeftOut {
    std::vector<std::string> leaves;  // each once, in the order of their coming
    std::set<std::size_t> entries;
  };
  std::map<std::string, LeftOut> causes_;
};

}  // namespace agentd

#endif
