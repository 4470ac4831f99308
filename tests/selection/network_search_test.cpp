// The network search: computers read one at a time on a worker and handed to the
// user-interface thread, and what the window's tree makes of them.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "base/platform.h"
#include "selection/network_shares.h"
#include "selection/null_view.h"
#include "support/fake_network.h"

namespace tessaroven {
namespace {

using namespace std::chrono_literals;

// "\\nas\music" on Windows, "//nas/music" on Linux: a share path either way.
std::u16string Share(std::u16string_view name) {
  return std::u16string(2, kPathSeparator) + u"nas" + kPathSeparator + std::u16string(name);
}

class EventWaker : public MainThreadWaker {
 public:
  void Wake() override { woken.Set(); }
  XEvent woken;
};

class NetworkSearchTest : public testing::Test, public NetworkSearchSink {
 protected:
  void ComputerFound(const std::shared_ptr<const STServer>& server) override { found.push_back(server->name); }
  void SearchEnded(std::size_t computers, bool opened) override {
    ended = true;
    endedWith = computers;
    endedOpened = opened;
  }

  // Runs the posted calls as the user-interface thread would, until the search
  // ended or `done` holds (10 s at most).
  void RunUntil(const std::function<bool()>& done) {
    const auto deadline = std::chrono::steady_clock::now() + 10s;
    while (!ended && !done() && std::chrono::steady_clock::now() < deadline) {
      waker.woken.Wait(20ms);
      waker.woken.Reset();
      queue.RunPending();
    }
  }

  std::unique_ptr<NetworkSearch> MakeSearch() {
    return std::make_unique<NetworkSearch>(queue, *this, test::FakeNetwork::For(script));
  }

  std::shared_ptr<test::NetworkScript> script = std::make_shared<test::NetworkScript>();
  EventWaker waker;
  XMainThreadSync queue{waker};
  std::vector<std::u16string> found;
  bool ended = false;
  std::size_t endedWith = 0;
  bool endedOpened = false;
};

TEST_F(NetworkSearchTest, ComputersArriveInTheOrderFoundAndOneThatFailsIsLeftOut) {
  script->computers = {{{u"alpha", {Share(u"music")}, {u"music"}}}, {{u"broken", {}, {}}, true}, {{u"gamma", {}, {}}}};
  auto search = MakeSearch();
  search->Start();
  RunUntil([] { return false; });
  EXPECT_EQ(found, (std::vector<std::u16string>{u"alpha", u"gamma"}));
  EXPECT_TRUE(ended);
  EXPECT_EQ(endedWith, 2u);
  EXPECT_TRUE(endedOpened);
}

struct EndCase {
  const char* name;
  bool opens;
  bool failsForEver;
  std::size_t reads;  // NextComputer calls made
  bool opened;
};

class NetworkSearchEndTest : public NetworkSearchTest, public testing::WithParamInterface<EndCase> {};

TEST_P(NetworkSearchEndTest, ASearchThatFindsNothingStillEnds) {
  script->opens = GetParam().opens;
  script->failsForEver = GetParam().failsForEver;
  auto search = MakeSearch();
  search->Start();
  RunUntil([] { return false; });
  EXPECT_TRUE(ended);
  EXPECT_EQ(endedWith, 0u);
  EXPECT_EQ(endedOpened, GetParam().opened);
  EXPECT_EQ(script->reads.load(), GetParam().reads);
}

INSTANTIATE_TEST_SUITE_P(
    Ends, NetworkSearchEndTest,
    testing::Values(EndCase{"Empty", true, false, 1, true}, EndCase{"CannotOpen", false, false, 0, false},
                    EndCase{"FailsForEver", true, true, NetworkSearch::kFailuresInARow, true}),
    [](const testing::TestParamInfo<EndCase>& p) { return p.param.name; });

TEST_F(NetworkSearchTest, StopFinishesTheComputerBeingReadThenNothingMoreArrives) {
  script->computers = {{{u"alpha", {}, {}}}, {{u"beta", {}, {}}}, {{u"gamma", {}, {}}}};
  script->gateBefore = 1;
  auto search = MakeSearch();
  search->Start();
  RunUntil([&] { return !found.empty(); });
  ASSERT_EQ(found, std::vector<std::u16string>{u"alpha"});
  // "beta" is being read when the window stops the search.
  for (int i = 0; i < 1000 && script->reads.load() < 2; ++i) std::this_thread::sleep_for(5ms);
  std::thread release([&] {
    std::this_thread::sleep_for(100ms);
    script->gate.Set();
  });
  search->Stop();
  release.join();
  EXPECT_FALSE(search->Running());
  queue.RunPending();
  EXPECT_EQ(found, std::vector<std::u16string>{u"alpha"});
  EXPECT_FALSE(ended);
  EXPECT_EQ(script->reads.load(), 2u);
}

// The system's own namespace (the shell's network folder under Windows, the mount
// table on Linux): whatever this machine offers, the search ends and every share
// has its name and a folder path.
TEST_F(NetworkSearchTest, TheSystemSearchEndsWithWellFormedComputers) {
  struct Recorder : NetworkSearchSink {
    void ComputerFound(const std::shared_ptr<const STServer>& server) override { servers.push_back(server); }
    void SearchEnded(std::size_t, bool) override { done = true; }
    std::vector<std::shared_ptr<const STServer>> servers;
    bool done = false;
  } recorder;
  NetworkSearch search(queue, recorder);
  search.Start();
  RunUntil([&] { return recorder.done; });
  ASSERT_TRUE(recorder.done);
  for (const auto& server : recorder.servers) {
    EXPECT_FALSE(server->name.empty());
    ASSERT_EQ(server->sharePaths.size(), server->shareNames.size());
    for (const std::u16string& path : server->sharePaths) EXPECT_EQ(path.back(), kPathSeparator);
  }
}

class NetworkTreeTest : public testing::Test {
 protected:
  NetworkTreeTest() {
    AddPlacesToTree(model.Tree(), model.Lists(), places,
                    {Place{PlaceKind::kNetwork, std::u16string(kNetworkLabel), std::u16string(kNetworkEntry)}});
    network = model.Tree().TopLevelNodes().front();
  }
  std::vector<std::u16string> Labels(NodeId parent) const {
    std::vector<std::u16string> labels;
    for (const NodeId child : model.Tree().ChildrenOf(parent)) labels.emplace_back(places.Label(child));
    return labels;
  }

  test::NullView view;
  SelectionModel model{view};
  PlaceNodes places;
  NodeId network = kNoNode;
};

TEST_F(NetworkTreeTest, TheFirstComputerReplacesThePlaceholderAndLaterOnesFollow) {
  ASSERT_EQ(Labels(network), std::vector<std::u16string>{u"Searching..."});
  const NodeId alpha = AddComputerToTree(model, places, network, {u"alpha", {Share(u"music"), Share(u"video")}, {u"music", u"video"}});
  const NodeId beta = AddComputerToTree(model, places, network, {u"beta", {}, {}});
  EXPECT_EQ(Labels(network), (std::vector<std::u16string>{u"alpha", u"beta"}));
  EXPECT_EQ(places.SearchingNode(), kNoNode);
  EXPECT_EQ(model.Tree().PathOf(alpha), kNetworkComputerEntry);
  EXPECT_EQ(Labels(alpha), (std::vector<std::u16string>{u"music", u"video"}));
  EXPECT_EQ(model.Tree().PathOf(model.Tree().ChildrenOf(alpha)[0]), Share(u"music") + kPathSeparator);
  EXPECT_TRUE(model.Tree().HasChildren(alpha));
  EXPECT_FALSE(model.Tree().HasChildren(beta));
}

TEST_F(NetworkTreeTest, ASharePicksUpItsTickAndIsChosenByItsPathWithTheSeparator) {
  model.Lists().lstFoldersAndSub.push_back(Share(u"music") + kPathSeparator);
  const NodeId alpha = AddComputerToTree(model, places, network, {u"alpha", {Share(u"music"), Share(u"video")}, {u"music", u"video"}});
  const std::vector<NodeId> shares = model.Tree().ChildrenOf(alpha);
  EXPECT_EQ(model.Tree().StateOf(shares[0]), TreeCheckState::csFolderAndSub);
  ASSERT_TRUE(model.ToggleFolderState(shares[1]));
  EXPECT_EQ(model.Lists().lstFoldersAndSub,
            (std::vector<std::u16string>{Share(u"music") + kPathSeparator, Share(u"video") + kPathSeparator}));
}

TEST_F(NetworkTreeTest, NothingFoundSaysSoAndARefreshStartsOverWithThePlaceholder) {
  MarkNoComputersFound(model, places);
  EXPECT_EQ(Labels(network), std::vector<std::u16string>{u"No computers found"});
  EXPECT_EQ(model.Tree().PathOf(places.SearchingNode()), kNetworkSearchingEntry);

  AddComputerToTree(model, places, network, {u"alpha", {Share(u"music")}, {u"music"}});
  ResetNetworkEntry(model, places, network);
  EXPECT_EQ(Labels(network), std::vector<std::u16string>{u"Searching..."});
  // A record that arrives for a network entry that is gone is dropped.
  model.Tree().RemoveNode(network);
  EXPECT_EQ(AddComputerToTree(model, places, network, {u"late", {}, {}}), kNoNode);
}

}  // namespace
}  // namespace tessaroven
