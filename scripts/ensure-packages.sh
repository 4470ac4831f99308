# Sourced by ./run and ./test: installs the Debian packages that are missing, and
# nothing when all are there (so a machine that has them needs no network).
# Works as root, or through sudo for an ordinary user.

ensure_packages() {
  local missing=()
  local pkg
  for pkg in "$@"; do
    if ! dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q "install ok installed"; then
      missing+=("$pkg")
    fi
  done
  [ ${#missing[@]} -eq 0 ] && return 0

  local sudo=()
  if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null 2>&1; then
      echo "Missing packages: ${missing[*]}; run as root or install sudo." >&2
      return 1
    fi
    sudo=(sudo)
  fi
  echo "Installing: ${missing[*]}"
  "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -qq
  "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "${missing[@]}" >/dev/null
}

# What every build needs: compiler, CMake, Ninja, GoogleTest and Google Benchmark,
# TagLib and FFmpeg for the plug-ins, Qt 6 for the window.
BUILD_PACKAGES=(g++ cmake ninja-build pkg-config libgtest-dev libgmock-dev googletest libbenchmark-dev libtag1-dev libavformat-dev libavcodec-dev libavutil-dev libswresample-dev qt6-base-dev libqt6svg6 help2man)
# The crash tests open the dumps they provoke in a debugger; the window tests run a
# second time on a real X server; the install test validates the desktop's files;
# the network test mounts a folder of this machine over SSH (sshd on 127.0.0.1).
TEST_PACKAGES=(lldb xvfb xauth desktop-file-utils appstream openssh-server sshfs)
# The Windows build of the core and Wine to run its tests.
WINDOWS_PACKAGES=(g++-mingw-w64-x86-64-posix wine64)
