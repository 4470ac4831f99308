#include "selection/network_shares.h"

#include <mutex>
#include <utility>

#include "base/com_error.h"
#include "base/path.h"

namespace tessaroven {

// What a worker shares with the search that started it. The worker posts through
// it; Stop() disowns it, after which posting does nothing and calls already queued
// find no sink. The worker keeps it alive for as long as it runs.
struct NetworkSearch::Channel {
  Channel(XMainThreadSync& q, NetworkSearchSink& s) : queue(&q), sink(&s) {}

  // Any thread. The call runs on the user-interface thread, if the search still
  // owns the channel by then.
  void Post(const std::shared_ptr<Channel>& self, std::function<void(NetworkSearchSink&)> call) {
    std::lock_guard lock(mutex);
    if (!queue) return;
    queue->Post([self, call = std::move(call)] {
      if (self->sink) call(*self->sink);
    });
  }

  // User-interface thread.
  void Disown() {
    std::lock_guard lock(mutex);
    queue = nullptr;
    sink = nullptr;
  }

  std::atomic<bool> stop{false};
  std::mutex mutex;
  XMainThreadSync* queue;
  NetworkSearchSink* sink;  // read and cleared on the user-interface thread only
};

NetworkSearch::NetworkSearch(XMainThreadSync& queue, NetworkSearchSink& sink, NamespaceFactory makeNamespace)
    : queue_(queue), sink_(sink), makeNamespace_(std::move(makeNamespace)) {
  if (!makeNamespace_) makeNamespace_ = [] { return std::make_unique<clFindNetShares>(); };
}

NetworkSearch::~NetworkSearch() { Stop(); }

void NetworkSearch::Start() {
  Stop();
  channel_ = std::make_shared<Channel>(queue_, sink_);
  worker_.Start(
      [channel = channel_, make = makeNamespace_](const WorkerStop& stop) {
        const auto stopped = [&] { return channel->stop.load() || stop.Requested(); };
        std::unique_ptr<NetworkNamespace> network = make();
        bool opened = false;
        try {
          opened = network->Open();
        } catch (const exception_com&) {
        }
        std::size_t found = 0;
        int failures = 0;
        while (opened && !stopped()) {
          auto server = std::make_shared<STServer>();
          bool more = false;
          try {
            more = network->NextComputer(*server);
            failures = 0;
          } catch (const exception_com&) {
            // One computer that cannot be read should not hide the others.
            if (++failures < kFailuresInARow) continue;
          }
          if (!more) break;
          ++found;
          channel->Post(channel, [server = std::shared_ptr<const STServer>(std::move(server))](
                                     NetworkSearchSink& sink) { sink.ComputerFound(server); });
        }
        // The namespace goes on this thread: it may hold per-thread state (COM).
        network.reset();
        if (stopped()) return;
        channel->Post(channel, [found, opened](NetworkSearchSink& sink) { sink.SearchEnded(found, opened); });
      },
      kStopTimeout);
}

void NetworkSearch::Stop() {
  if (!channel_) return;
  channel_->stop = true;
  channel_->Disown();
  channel_.reset();
  worker_.Stop();
}

NodeId AddComputerToTree(SelectionModel& model, PlaceNodes& places, NodeId network, const STServer& server) {
  FolderTree& tree = model.Tree();
  if (!tree.IsNode(network) || tree.PathOf(network) != kNetworkEntry) return kNoNode;
  if (const NodeId placeholder = places.SearchingNode(); placeholder != kNoNode) {
    tree.RemoveNode(placeholder);
    places.SetSearchingNode(kNoNode);
  }
  const NodeId computer = tree.AddNode(network, std::u16string(kNetworkComputerEntry), !server.sharePaths.empty());
  places.SetNetworkLabel(computer, server.name);
  std::vector<std::u16string> paths;
  paths.reserve(server.sharePaths.size());
  for (const std::u16string& path : server.sharePaths) paths.push_back(WithTrailingSeparator(path));
  const std::vector<NodeId> shares = model.AddExpandedChildren(computer, std::move(paths));
  for (std::size_t i = 0; i < shares.size() && i < server.shareNames.size(); ++i)
    places.SetNetworkLabel(shares[i], server.shareNames[i]);
  return computer;
}

void MarkNoComputersFound(SelectionModel& model, PlaceNodes& places) {
  const NodeId placeholder = places.SearchingNode();
  if (placeholder == kNoNode) return;
  places.SetSearchingNode(placeholder, kNoComputersFoundLabel);
  model.Tree().TextChanged(placeholder);
}

void ResetNetworkEntry(SelectionModel& model, PlaceNodes& places, NodeId network) {
  FolderTree& tree = model.Tree();
  if (!tree.IsNode(network)) return;
  tree.DiscardChildren(network);
  places.ForgetNetworkLabels();
  places.SetSearchingNode(tree.AddNode(network, std::u16string(kNetworkSearchingEntry), false));
  tree.SetHasChildren(network, true);
}

}  // namespace tessaroven
