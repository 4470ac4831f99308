// A network namespace of a test's own: hands out the computers of a script, one per
// NextComputer, as the system's search would. The script is shared with the test by
// pointer, since the search's worker may outlive the test's own references.
#pragma once

#include <atomic>
#include <chrono>
#include <climits>
#include <memory>
#include <vector>

#include "base/com_error.h"
#include "base/event.h"
#include "selection/network_shares.h"

namespace tessaroven::test {

struct NetworkScript {
  struct Computer {
    STServer server;
    bool fails = false;  // reading it raises the COM error
  };
  bool opens = true;
  bool failsForEver = false;
  std::vector<Computer> computers;
  std::size_t gateBefore = SIZE_MAX;  // reading this computer waits for `gate`
  XEvent gate;
  std::atomic<std::size_t> reads{0};  // NextComputer calls, over all searches
  std::atomic<int> searches{0};       // Open calls
};

class FakeNetwork : public NetworkNamespace {
 public:
  explicit FakeNetwork(std::shared_ptr<NetworkScript> script) : script_(std::move(script)) {}
  bool Open() override {
    ++script_->searches;
    return script_->opens;
  }
  bool NextComputer(STServer& server) override {
    ++script_->reads;
    if (script_->failsForEver) throw exception_com();
    if (next_ == script_->gateBefore) script_->gate.Wait(std::chrono::milliseconds(-1));
    if (next_ >= script_->computers.size()) return false;
    const NetworkScript::Computer& computer = script_->computers[next_++];
    if (computer.fails) throw exception_com();
    server = computer.server;
    return true;
  }
  // The factory a NetworkSearch (or the window) takes.
  static NetworkSearch::NamespaceFactory For(std::shared_ptr<NetworkScript> script) {
    return [script] { return std::make_unique<FakeNetwork>(script); };
  }

 private:
  std::shared_ptr<NetworkScript> script_;
  std::size_t next_ = 0;
};

}  // namespace tessaroven::test
