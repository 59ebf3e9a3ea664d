// What a read left out, and why, as warnings: one a cause, however many leaves.
#ifndef AGENT_OMISSIONS_H
#define AGENT_OMISSIONS_H

#include <map>
#include <string>
#include <vector>

namespace agentd {

class Omissions {
 public:
  void Add(const std::string& cause, const std::string& path);
  // "cause: left out /a/b, /a/c and 7 more"
  std::vector<std::string> Warnings() const;
  void Clear() { causes_.clear(); }

 private:
  struct Paths {
    std::vector<std::string> first;
    std::size_t count = 0;
  };
  std::map<std::string, Paths> causes_;
};

}  // namespace agentd

#endif
