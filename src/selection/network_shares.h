// The computers of the local network and their shares, found in the background for
// the tree's "Network" entry.
//
//   STServer         one computer: its name and its shares (path and display name).
//   NetworkNamespace where computers come from, one at a time: clFindNetShares is
//                    the system's (the shell's network folder on Windows; on Linux
//                    the mounted network file systems, then the desktop's network
//                    browser when GLib's GIO is there), tests bring their own.
//   NetworkSearch    the worker: opens a namespace, reads it computer by computer
//                    and posts each finished STServer to the user-interface thread
//                    through XMainThreadSync; after the last one, the end of the
//                    search. The window applies them with AddComputerToTree (below).
//
// Threads: a namespace lives and dies on the search's worker. NetworkSearch and its
// sink belong to the user-interface thread; the sink is only ever called there, and
// never after Stop() or the search's destruction, so a window may die while a
// worker it left behind (stuck on a server that stopped answering) still runs.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/main_thread_queue.h"
#include "base/worker_thread.h"
#include "selection/places.h"
#include "selection/selection_model.h"

namespace tessaroven {

// One computer. Shared by reference counting between the worker that fills it and
// the window that shows it; it is not changed once posted.
struct STServer {
  std::u16string name;                     // the computer's display name
  std::vector<std::u16string> sharePaths;  // each share's folder path, ending in the separator
  std::vector<std::u16string> shareNames;  // each share's display name, same order
};

class NetworkNamespace {
 public:
  virtual ~NetworkNamespace() = default;
  // Starts the enumeration; false when the network cannot be browsed at all.
  virtual bool Open() = 0;
  // Fills `server` (empty on entry) with the next computer; false when none is left.
  // A computer that fails while being read raises exception_com; the enumeration
  // has moved past it, so the next call goes on with the one after.
  virtual bool NextComputer(STServer& server) = 0;
};

// The system's network namespace; see network_shares_posix.cpp / _win.cpp.
class clFindNetShares : public NetworkNamespace {
 public:
  clFindNetShares();
  ~clFindNetShares() override;
  clFindNetShares(const clFindNetShares&) = delete;
  clFindNetShares& operator=(const clFindNetShares&) = delete;

  bool Open() override;
  bool NextComputer(STServer& server) override;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

// Makes a share's folder readable before it is first read: a share the desktop's
// network browser offered but has not mounted yet is mounted now (Linux; it may
// take a while, so call it on a worker). True at once for every other folder;
// false with a message for the user when the mount failed.
bool PrepareShareFolder(const std::u16string& path, std::u16string& message);

// What a search reports, on the user-interface thread.
class NetworkSearchSink {
 public:
  virtual ~NetworkSearchSink() = default;
  virtual void ComputerFound(const std::shared_ptr<const STServer>& server) = 0;
  // The search went through the whole namespace (not called after a stop).
  // `computers` is how many were found; `opened` is false when the network
  // could not be browsed at all.
  virtual void SearchEnded(std::size_t computers, bool opened) = 0;
};

class NetworkSearch {
 public:
  using NamespaceFactory = std::function<std::unique_ptr<NetworkNamespace>()>;
  // A computer that cannot be read is left out and the search goes on; after this
  // many failures in a row the namespace is taken to be broken and the search ends.
  static constexpr int kFailuresInARow = 8;
  // How long Stop() waits for a worker busy with one computer before leaving it.
  static constexpr std::chrono::milliseconds kStopTimeout{2000};

  // `queue` and `sink` must outlive the search (or its last Stop()).
  // `makeNamespace` runs on the worker; by default the system's clFindNetShares.
  NetworkSearch(XMainThreadSync& queue, NetworkSearchSink& sink, NamespaceFactory makeNamespace = {});
  ~NetworkSearch();
  NetworkSearch(const NetworkSearch&) = delete;
  NetworkSearch& operator=(const NetworkSearch&) = delete;

  // Starts a search; one still running is stopped first and whatever it had not
  // yet delivered is dropped.
  void Start();
  // Sets the stop flag (read by the worker once per computer), disowns everything
  // the worker still posts, and waits for it up to kStopTimeout.
  void Stop();
  bool Running() const { return worker_.Running(); }

 private:
  struct Channel;
  XMainThreadSync& queue_;
  NetworkSearchSink& sink_;
  NamespaceFactory makeNamespace_;
  std::shared_ptr<Channel> channel_;
  XWorkerThread worker_;
};

// The window's side of a found computer, under the network entry `network`: the
// placeholder (PlaceNodes::SearchingNode) goes; a node for the computer (path
// "{ Network Computer }", no tick of its own, no expand button without shares) is
// appended with one node per share below it, each a folder taking its tick from
// the selection lists. Nothing happens when `network` is no longer a node. Returns
// the computer's node, or kNoNode.
NodeId AddComputerToTree(SelectionModel& model, PlaceNodes& places, NodeId network, const STServer& server);

// The end of a search that found nothing: the placeholder stays, as "No computers
// found", so the entry tells why it is empty; it still cannot be ticked.
void MarkNoComputersFound(SelectionModel& model, PlaceNodes& places);

// Before a new search (Refresh): the computers found before go and the placeholder
// is back as "Searching...". What was ticked on a share stays in the lists.
void ResetNetworkEntry(SelectionModel& model, PlaceNodes& places, NodeId network);

}  // namespace tessaroven
