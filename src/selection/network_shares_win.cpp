// Windows: the shell's network folder, computer by computer, each with the shares
// it offers. COM is initialised for the worker's thread while the search lives.
#include <windows.h>
#include <objbase.h>
#include <shlobj.h>
#include <shlwapi.h>

#include "base/com_error.h"
#include "base/path.h"
#include "selection/network_shares.h"

namespace tessaroven {
namespace {

// An interface pointer released with its owner.
template <typename Interface>
class Com {
 public:
  Com() = default;
  ~Com() {
    if (pointer_) pointer_->Release();
  }
  Com(const Com&) = delete;
  Com& operator=(const Com&) = delete;
  Interface* operator->() const { return pointer_; }
  Interface* get() const { return pointer_; }
  Interface** out() { return &pointer_; }
  void** outVoid() { return reinterpret_cast<void**>(&pointer_); }

 private:
  Interface* pointer_ = nullptr;
};

// An item identifier list freed with its owner.
class Pidl {
 public:
  Pidl() = default;
  ~Pidl() { CoTaskMemFree(pidl_); }
  Pidl(const Pidl&) = delete;
  Pidl& operator=(const Pidl&) = delete;
  ITEMIDLIST* get() const { return pidl_; }
  ITEMIDLIST** out() { return &pidl_; }

 private:
  ITEMIDLIST* pidl_ = nullptr;
};

void Check(HRESULT result) {
  if (FAILED(result)) throw exception_com();
}

std::u16string DisplayName(IShellFolder* folder, const ITEMIDLIST* item, SHGDNF flags) {
  STRRET name{};
  Check(folder->GetDisplayNameOf(item, flags, &name));
  wchar_t* text = nullptr;
  Check(StrRetToStrW(&name, item, &text));
  std::u16string result(reinterpret_cast<const char16_t*>(text));
  CoTaskMemFree(text);
  return result;
}

}  // namespace

// COM for the calling thread, for as long as the search's shell objects live:
// declared first in Impl, so it ends after they are released.
struct ComForThisThread {
  ComForThisThread() : ready(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) {}
  ~ComForThisThread() {
    if (ready) CoUninitialize();
  }
  bool ready;
};

struct clFindNetShares::Impl {
  ComForThisThread com;
  Com<IShellFolder> desktop;
  Com<IShellFolder> network;
  Com<IEnumIDList> computers;
};

clFindNetShares::clFindNetShares() : impl_(std::make_unique<Impl>()) {}
clFindNetShares::~clFindNetShares() = default;

bool clFindNetShares::Open() {
  Pidl networkFolder;
  if (FAILED(SHGetFolderLocation(nullptr, CSIDL_NETWORK, nullptr, 0, networkFolder.out()))) return false;
  if (FAILED(SHGetDesktopFolder(impl_->desktop.out()))) return false;
  if (FAILED(impl_->desktop->BindToObject(networkFolder.get(), nullptr, IID_IShellFolder, impl_->network.outVoid())))
    return false;
  return impl_->network->EnumObjects(nullptr, SHCONTF_FOLDERS, impl_->computers.out()) == S_OK &&
         impl_->computers.get();
}

bool clFindNetShares::NextComputer(STServer& server) {
  if (!impl_->computers.get()) return false;
  Pidl computer;
  ULONG fetched = 0;
  if (impl_->computers->Next(1, computer.out(), &fetched) != S_OK || fetched != 1) return false;
  server.name = DisplayName(impl_->network.get(), computer.get(), SHGDN_INFOLDER);

  Com<IShellFolder> computerFolder;
  Check(impl_->network->BindToObject(computer.get(), nullptr, IID_IShellFolder, computerFolder.outVoid()));
  Com<IEnumIDList> shares;
  // S_FALSE with no enumerator: a computer that offers nothing.
  Check(computerFolder->EnumObjects(nullptr, SHCONTF_FOLDERS, shares.out()));
  if (!shares.get()) return true;
  for (;;) {
    Pidl share;
    if (shares->Next(1, share.out(), &fetched) != S_OK || fetched != 1) break;
    const std::u16string name = DisplayName(computerFolder.get(), share.get(), SHGDN_INFOLDER);
    std::u16string parsing = DisplayName(computerFolder.get(), share.get(), SHGDN_FORPARSING);
    Pidl absolute;
    Check(impl_->desktop->ParseDisplayName(nullptr, nullptr, reinterpret_cast<wchar_t*>(parsing.data()), nullptr,
                                           absolute.out(), nullptr));
    wchar_t path[MAX_PATH] = {};
    if (!SHGetPathFromIDListW(absolute.get(), path)) throw exception_com();
    server.sharePaths.push_back(WithTrailingSeparator(reinterpret_cast<const char16_t*>(path)));
    server.shareNames.push_back(name);
  }
  return true;
}

bool PrepareShareFolder(const std::u16string&, std::u16string&) {
  // A UNC path needs no mounting: the redirector connects on first use.
  return true;
}

}  // namespace tessaroven
