#include "fake_converter.h"

#include <chrono>
#include <string_view>
#include <thread>

#include "app/named_objects.h"
#include "base/text.h"
#include "base/xfile.h"

namespace tessaroven::fake {
namespace {

bool WriteRecord(const std::u16string& path, const void* bytes, std::size_t size) {
  XFile file;
  return file.Open(path, GENERIC_WRITE, CREATE_ALWAYS, false) && file.Write(bytes, static_cast<std::uint32_t>(size));
}

// The value of "-name=value" among the arguments; empty when absent.
std::u16string OptionValue(const std::vector<std::u16string>& arguments, std::u16string_view name) {
  for (const auto& argument : arguments) {
    if (argument.size() > name.size() && std::u16string_view(argument).substr(0, name.size()) == name &&
        argument[name.size()] == u'=') {
      return argument.substr(name.size() + 1);
    }
  }
  return {};
}

}  // namespace

int RunFakeConverter(const std::vector<std::u16string>& arguments, const EnvironmentReader& environment) {
  const std::u16string record = environment("TESSAROVEN_FAKE_CONVERTER_RECORD");
  if (record.empty()) return 2;

  std::u16string joined;
  for (const auto& argument : arguments) {
    joined += argument;
    joined += u'\0';
  }
  if (!WriteRecord(record + u"args", joined.data(), joined.size() * sizeof(char16_t))) return 3;

  XFile list;
  if (list.Open(OptionValue(arguments, u"-list_to_conv"), GENERIC_READ, OPEN_EXISTING, false)) {
    std::string bytes(static_cast<std::size_t>(list.Size()), '\0');
    bytes.resize(list.Read(bytes.data(), static_cast<std::uint32_t>(bytes.size())));
    WriteRecord(record + u"list", bytes.data(), bytes.size());
  }

  std::string acceptState = "missing";
  const std::u16string acceptName = environment("TESSAROVEN_FAKE_CONVERTER_ACCEPT");
  NamedEvent accept;
  if (!acceptName.empty() && accept.Create(acceptName) && accept.ExistedBefore()) {
    acceptState = accept.Wait(std::chrono::milliseconds(0)) ? "set" : "reset";
  }
  WriteRecord(record + u"accept", acceptState.data(), acceptState.size());

  if (environment("TESSAROVEN_FAKE_CONVERTER_SILENT") == u"1") {
    std::this_thread::sleep_for(std::chrono::milliseconds(600));
    return 0;
  }
  // Opened before the signal, so the test's Set cannot come before this process
  // holds the event (on Linux an event nobody holds is forgotten).
  NamedEvent release;
  const std::u16string releaseName = environment("TESSAROVEN_FAKE_CONVERTER_RELEASE");
  if (!releaseName.empty()) release.Create(releaseName);
  NamedEvent signal;
  if (!signal.Create(OptionValue(arguments, u"-signal_event_got_files")) || !signal.Set()) return 4;
  if (release.IsOpen()) release.Wait(std::chrono::seconds(20));
  return 0;
}

}  // namespace tessaroven::fake
