// A flag that is set as long as this lives, also when what it covers throws.
#ifndef AGENT_WHILE_SET_H
#define AGENT_WHILE_SET_H

namespace agentd {

class WhileSet {
 public:
  explicit WhileSet(bool& flag) : flag_(flag) { flag_ = true; }
  ~WhileSet() { flag_ = false; }

  WhileSet(const WhileSet&) = delete;
  WhileSet& operator=(const WhileSet&) = delete;

 private:
  bool& flag_;
};

}  // namespace agentd

#endif
