#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <string>
#include <thread>

#include "base/text.h"
#include "base/xfile.h"
#include "support/test_env.h"

namespace tessaroven {
namespace {

using test::TempDir;

TEST(XFilePosix, NameBytesThatAreNotUtf8ReachTheDiskUnchanged) {
  TempDir dir;
  // "Café.bin" written in Latin-1: the lone byte 0xE9 travels as U+DCE9.
  XFile file(dir / u"Caf\xDCE9.bin");
  ASSERT_TRUE(file.Open(GENERIC_WRITE, CREATE_NEW, false));
  file.Close();
  const std::string onDisk = Utf16ToUtf8(dir.Path()) + "Caf\xE9.bin";
  EXPECT_EQ(::access(onDisk.c_str(), F_OK), 0);
}

TEST(XFilePosix, DescriptorIsNotInheritedByChildren) {
  TempDir dir;
  XFile file(dir / u"cloexec.bin");
  ASSERT_TRUE(file.Open(GENERIC_WRITE, CREATE_ALWAYS, false));
  const int flags = ::fcntl(static_cast<int>(file.Handle()), F_GETFD);
  ASSERT_NE(flags, -1);
  EXPECT_TRUE(flags & FD_CLOEXEC);
}

TEST(XFilePosix, FifoOpensWithoutWaitingForAWriter) {
  TempDir dir;
  const std::u16string path = dir / u"pipe.mp3";
  ASSERT_EQ(::mkfifo(Utf16ToUtf8(path).c_str(), 0600), 0);
  XFile file(path);
  // Would block forever if the open waited for the other end.
  ASSERT_TRUE(file.Open(GENERIC_READ, OPEN_EXISTING, true));
  char buffer[8];
  EXPECT_EQ(file.Read(buffer, sizeof(buffer)), 0u);
}

void IgnoreSignal(int) {}

// A pipe delivers data in the pieces the writer sends, and a signal without
// SA_RESTART interrupts a blocked read: Read must still return the full count.
TEST(XFilePosix, ReadAndWriteSurvivePartialTransfersAndSignals) {
  int fds[2];
  ASSERT_EQ(::pipe(fds), 0);
  struct sigaction action {};
  struct sigaction previous {};
  action.sa_handler = IgnoreSignal;
  sigemptyset(&action.sa_mask);
  action.sa_flags = 0;  // no SA_RESTART: blocked calls fail with EINTR
  ASSERT_EQ(::sigaction(SIGUSR1, &action, &previous), 0);

  constexpr std::uint32_t kTotal = 300000;  // several times the pipe's buffer
  std::string sent(kTotal, '\0');
  for (std::uint32_t i = 0; i < kTotal; ++i) sent[i] = static_cast<char>(i % 251);

  XFile reader;
  reader.Attach(fds[0], true);
  const pthread_t readerThread = ::pthread_self();
  std::atomic<bool> done{false};
  std::thread writerThread([&] {
    XFile writer;
    writer.Attach(fds[1], true);
    for (std::uint32_t at = 0; at < kTotal; at += 1000) {
      EXPECT_TRUE(writer.Write(sent.data() + at, std::min<std::uint32_t>(1000, kTotal - at)));
      ::pthread_kill(readerThread, SIGUSR1);
      if (at % 50000 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
  });
  std::thread signaller([&] {
    while (!done.load()) {
      ::pthread_kill(readerThread, SIGUSR1);
      std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
  });

  std::string received(kTotal + 10, '\0');
  const std::uint32_t got = reader.Read(received.data(), kTotal + 10);  // ends at the writer's close
  done = true;
  // Should Read have stopped early, drain the pipe so that the writer can finish.
  for (char sink[4096];;) {
    const ssize_t n = ::read(fds[0], sink, sizeof(sink));
    if (n == 0 || (n < 0 && errno != EINTR)) break;
  }
  signaller.join();
  writerThread.join();
  ::sigaction(SIGUSR1, &previous, nullptr);

  EXPECT_EQ(got, kTotal);
  received.resize(got);
  EXPECT_TRUE(received == sent);
}

}  // namespace
}  // namespace tessaroven
