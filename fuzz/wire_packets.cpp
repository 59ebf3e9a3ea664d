// What comes along a virtual wire: strangers at its meeting place, greetings,
// frames, ends, cuts. Only the frames of the one that greeted first arrive,
// whole and in order, and the link is up only with it.
#include <stdlib.h>
#include <sys/socket.h>
#include <systemd/sd-event.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "ccm.h"
#include "cfm_frame.h"
#include "input.h"
#include "unix_address.h"
#include "wire_port.h"

namespace {

constexpr std::string_view kGreeting = "cfm wire 1";
// What comes after so much is more of the same.
constexpr int kMostSteps = 40;

// The port that all inputs meet, in a directory in memory.
class Target {
 public:
  Target() {
    char name[] = "/dev/shm/cfm-fuzz-XXXXXX";
    directory_ = mkdtemp(name);
    atexit([] { std::filesystem::remove_all(directory_); });
    sd_event_new(&loop_);
    port_.emplace(loop_, cfm::WirePort::Place{"w", directory_ / "wire", {{2, 0, 0, 0, 0, 1}}},
                  cfm::LogCategory("fuzz"),
                  cfm::Port::Handlers{[this](cfm::engine::ByteView frame) { Take(frame); }, [] {}});
    Settle();
  }

  void Feed(fuzz::Input input) {
    for (int step = 0; step < kMostSteps && !input.Rest().empty(); ++step) {
      Step(input);
      Settle();
      Check();
    }
    for (std::size_t which = 0; which < strangers_.size(); ++which) {
      Leave(which);
    }
    Mend();
    Settle();
    Check();
  }

 private:
  void Take(cfm::engine::ByteView frame) {
    arrived_.emplace_back(frame.begin(), frame.end());
    if (const auto parsed = cfm::engine::ParseCfmFrame(frame)) {
      cfm::engine::DecodeCcm(*parsed);
    }
  }
  void Settle() {
    while (sd_event_run(loop_, 0) > 0) {
    }
  }
  void Check() {
    const bool is_up = port_->Facts()->interface_status == cfm::InterfaceStatus::kIsUp;
    if (is_up != greeted_ || arrived_ != expected_) {
      __builtin_trap();
    }
    arrived_.clear();
    expected_.clear();
  }

  void Step(fuzz::Input& input) {
    const auto action = input.Take<std::uint8_t>();
    const std::size_t which = action / 16 % strangers_.size();
    switch (action % 8) {
      case 0:
        return Come(which);
      case 1:
        return Say(which, kGreeting);
      case 2:
        return Leave(which);
      case 3:
        return Cut();
      case 4:
        return Mend();
      case 5: {
        const std::string_view frame = input.TakeBlock();
        return port_->Send({reinterpret_cast<const std::uint8_t*>(frame.data()), frame.size()});
      }
      case 6:
        // Longer than the input, and perhaps than a frame may be.
        return Say(which, std::string(input.Take<std::uint16_t>(), 'x'));
      default:
        return Say(which, input.TakeBlock());
    }
  }

  void Come(std::size_t which) {
    Leave(which);
    Settle();
    ipc::UniqueFd socket(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const ipc::UnixAddress address(directory_ / "wire");
    if (connect(socket.Get(), address.Get(), address.Size()) != 0) {
      if (!cut_) {
        __builtin_trap();  // a wire that lies there takes whoever comes
      }
      return;
    }
    strangers_[which] = std::move(socket);
    if (!greeted_) {
      end_ = which;
    }
  }
  void Say(std::size_t which, std::string_view packet) {
    if (!strangers_[which] ||
        send(strangers_[which].Get(), packet.data(), packet.size(), MSG_NOSIGNAL) < 0 ||
        end_ != which) {
      return;
    }
    if (packet.empty()) {
      Part();  // as the end of a connection looks
    } else if (!greeted_) {
      greeted_ = packet == kGreeting;
      end_ = greeted_ ? end_ : std::nullopt;
    } else if (packet.size() <= cfm::Port::kMaxFrameBytes) {
      expected_.emplace_back(packet);
    }
  }
  void Leave(std::size_t which) {
    strangers_[which] = ipc::UniqueFd();
    if (end_ == which) {
      Part();
    }
  }
  void Cut() {
    std::ofstream(directory_ / "wire.cut") << "";
    cut_ = true;
    Part();
  }
  void Mend() {
    std::filesystem::remove(directory_ / "wire.cut");
    cut_ = false;
  }
  void Part() {
    end_.reset();
    greeted_ = false;
  }

  static inline std::filesystem::path directory_;
  sd_event* loop_ = nullptr;
  std::optional<cfm::WirePort> port_;
  std::array<ipc::UniqueFd, 3> strangers_;
  std::optional<std::size_t> end_;  // the stranger that the port listens to
  bool greeted_ = false;
  bool cut_ = false;
  std::vector<std::string> arrived_;
  std::vector<std::string> expected_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static auto& target = *new Target;
  target.Feed(fuzz::Input(data, size));
  return 0;
}
