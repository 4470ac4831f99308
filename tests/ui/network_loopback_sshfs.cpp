#include "network_loopback_sshfs.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <pwd.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <thread>
#include <vector>

extern char** environ;

namespace tessaroven::test {
namespace {

namespace fs = std::filesystem;

std::string Quoted(const fs::path& path) { return "'" + path.string() + "'"; }

int FreePort() {
  const int probe = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  int port = 0;
  if (bind(probe, reinterpret_cast<sockaddr*>(&address), size) == 0 &&
      getsockname(probe, reinterpret_cast<sockaddr*>(&address), &size) == 0)
    port = ntohs(address.sin_port);
  close(probe);
  return port;
}

bool Accepts(int port) {
  const int client = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  const bool ok = connect(client, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
  close(client);
  return ok;
}

}  // namespace

std::string LoopbackSshfs::Start(const fs::path& work, const fs::path& served) {
  const int fuse = open("/dev/fuse", O_RDWR | O_CLOEXEC);
  if (fuse < 0) return "FUSE is not available here (/dev/fuse cannot be opened)";
  close(fuse);
  if (!fs::exists("/usr/sbin/sshd") || std::system("command -v sshfs >/dev/null && command -v ssh-keygen >/dev/null") != 0)
    return "sshd, ssh-keygen or sshfs is missing (Debian packages openssh-server and sshfs)";

  const fs::path hostKey = work / "host_key", clientKey = work / "client_key";
  if (std::system(("ssh-keygen -q -t ed25519 -N '' -f " + Quoted(hostKey) + " && ssh-keygen -q -t ed25519 -N '' -f " +
                   Quoted(clientKey))
                      .c_str()) != 0)
    return "ssh-keygen failed";
  fs::copy_file(clientKey.string() + ".pub", work / "authorized_keys");
  const int port = FreePort();
  const fs::path config = work / "sshd_config";
  std::ofstream(config) << "Port " << port << "\nListenAddress 127.0.0.1\nHostKey " << hostKey.string()
                        << "\nAuthorizedKeysFile " << (work / "authorized_keys").string() << "\nPidFile "
                        << (work / "sshd.pid").string()
                        << "\nStrictModes no\nUsePAM no\nPasswordAuthentication no\nKbdInteractiveAuthentication no\n"
                           "PermitRootLogin prohibit-password\nSubsystem sftp internal-sftp\n";
  // Run as root, sshd wants its privilege separation folder.
  if (geteuid() == 0) fs::create_directories("/run/sshd");
  std::string program = "/usr/sbin/sshd", daemon = "-D", log = "-e", file = "-f", configText = config.string();
  char* argv[] = {program.data(), daemon.data(), log.data(), file.data(), configText.data(), nullptr};
  // Its log goes to a file of its own, for a failing run to be read.
  posix_spawn_file_actions_t output;
  posix_spawn_file_actions_init(&output);
  posix_spawn_file_actions_addopen(&output, 2, (work / "sshd.log").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  const int spawned = posix_spawn(&server_, program.c_str(), &output, nullptr, argv, environ);
  posix_spawn_file_actions_destroy(&output);
  if (spawned != 0) {
    server_ = -1;
    return "sshd could not be started";
  }
  for (int i = 0; i < 100 && !Accepts(port); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(50));

  const passwd* user = getpwuid(geteuid());
  mountPoint_ = work / "mnt";
  fs::create_directories(mountPoint_);
  const std::string mount = "sshfs -p " + std::to_string(port) + " -o IdentityFile=" + Quoted(clientKey) +
                            " -o StrictHostKeyChecking=no -o UserKnownHostsFile=/dev/null -o BatchMode=yes " +
                            std::string(user ? user->pw_name : "root") + "@127.0.0.1:" + Quoted(served) + " " +
                            Quoted(mountPoint_);
  if (std::system(mount.c_str()) != 0) return "sshfs could not mount the served folder";
  mounted_ = true;
  return {};
}

bool LoopbackSshfs::Freeze(bool frozen) {
  // sshfs went into the background on its own: found by its command line.
  for (const fs::directory_entry& process : fs::directory_iterator("/proc")) {
    std::ifstream file(process.path() / "cmdline", std::ios::binary);
    const std::string words((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (words.rfind("sshfs", 0) == 0 && words.find(mountPoint_.string()) != std::string::npos)
      return kill(std::stoi(process.path().filename().string()), frozen ? SIGSTOP : SIGCONT) == 0;
  }
  return false;
}

LoopbackSshfs::~LoopbackSshfs() {
  Freeze(false);
  if (mounted_ && std::system(("fusermount3 -u " + Quoted(mountPoint_) + " 2>/dev/null || umount -l " +
                               Quoted(mountPoint_))
                                  .c_str()) != 0) {
    // Left mounted: the temporary folder's removal will report it.
  }
  if (server_ > 0) {
    kill(server_, SIGTERM);
    waitpid(server_, nullptr, 0);
  }
}

}  // namespace tessaroven::test
