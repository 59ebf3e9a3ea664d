#include "linux_port.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

namespace cfm {
namespace {

bool Same(const std::optional<engine::PortFacts>& left,
          const std::optional<engine::PortFacts>& right) {
  if (!left || !right) {
    return left.has_value() == right.has_value();
  }
  return std::memcmp(left->mac.octets, right->mac.octets, sizeof(st_mac)) == 0 &&
         left->interface_status == right->interface_status;
}

std::string ProblemText(const std::system_error& error) {
  const char* advice =
      error.code().value() == EPERM ? ": give cfm-managerd the capability CAP_NET_RAW" : "";
  return std::string(error.what()) + advice;
}

}  // namespace

LinuxPort::LinuxPort(sd_event* loop, LinkMonitor& links, Place place, const LogCategory& log,
                     Handlers handlers)
    : loop_(loop),
      links_(links),
      place_(std::move(place)),
      log_(log),
      handlers_(std::move(handlers)),
      watch_(links.Watch([this] {
        if (Follow()) {
          handlers_.on_change();
        }
      })) {
  Follow();
}

void LinuxPort::Send(engine::ByteView frame) {
  if (socket_) {
    socket_->Send(frame);
  }
}

bool LinuxPort::Follow() {
  const Link* link = links_.Find(place_.device);
  const int index = link == nullptr ? 0 : link->index;
  if (index != index_) {
    Open(index);
  }
  std::optional<engine::PortFacts> facts;
  if (link != nullptr) {
    facts = engine::PortFacts{.mac = link->mac,
                              .interface_status = socket_ ? link->status : InterfaceStatus::kIsDown,
                              .port_status = PortStatus::kUp};
  }
  const bool changed = !Same(facts, facts_);
  facts_ = facts;
  if (link == nullptr) {
    Report("is not there: there is no such device");
  } else if (!socket_) {
    Report("is down: " + problem_);
  } else {
    Report(link->status == InterfaceStatus::kIsUp ? "is up" : "is down");
  }
  return changed;
}

void LinuxPort::Open(int index) {
  socket_.reset();
  index_ = index;
  if (index == 0) {
    return;
  }
  try {
    socket_.emplace(loop_, index, [this](engine::ByteView frame) { handlers_.on_frame(frame); });
  } catch (const std::system_error& error) {
    problem_ = ProblemText(error);
  }
}

void LinuxPort::Report(const std::string& state) {
  if (state == reported_) {
    return;
  }
  reported_ = state;
  const std::string text = fmt::format("port {} (device {}) {}", place_.name, place_.device, state);
  if (state == "is up") {
    log_.Info(text);
  } else {
    log_.Warning(text);
  }
}

}  // namespace cfm
