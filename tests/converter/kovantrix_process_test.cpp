// kovantrix as the selector starts it: a real process, a real list file and a
// real named event, the outputs decoded again.
#include <gtest/gtest.h>

#include <thread>

#include "app/named_objects.h"
#include "base/text.h"
#include "converter/choices.h"
#include "converter/output_file.h"
#include "selection/conversion.h"
#include "converter_test_support.h"
#include "support/test_env.h"

namespace kovantrix {
namespace {

using tessaroven::NamedEvent;
using tessaroven::Utf16ToUtf8;
using test::DataFile;
using test::DecodeWhole;
using test::Process;
using tessaroven::test::ListFolder;
using tessaroven::test::MakeFolder;
using tessaroven::test::ReadBytes;
using tessaroven::test::TempDir;
using tessaroven::test::WriteBytes;

std::u16string EventName() {
  static int counter = 0;
  return tessaroven::AsciiToUtf16("fsqrv-" + std::to_string(CurrentProcessId()) + std::to_string(counter++));
}

std::string Arg(std::u16string_view option, const std::u16string& value) {
  return Utf16ToUtf8(std::u16string(option) + u"=" + value);
}

// A source below `dir` as "<folder>/<name>", copied from a test file.
std::u16string Put(const TempDir& dir, const std::u16string& data, const std::u16string& folder,
                   const std::u16string& name) {
  MakeFolder(dir / folder);
  const std::u16string path = dir / (folder + u"/" + name);
  WriteBytes(path, ReadBytes(data));
  return path;
}

std::size_t Count(const std::string& text, const std::string& what) {
  std::size_t count = 0;
  for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++count;
  return count;
}

TEST(KovantrixTest, ReadsTheListSignalsAndConvertsWhatItCan) {
  TempDir in;
  TempDir out;
  const std::vector<std::u16string> files{
      Put(in, DataFile(u"tone.wav"), u"Album", u"01 Wave.wav"),
      in / u"Album/gone.wav",
      Put(in, DataFile(u"tone.flac"), u"Album", u"02 Flac.flac"),
      Put(in, test::CoverFile(u"cover.mp3"), u"Singles", u"cover.mp3"),
  };
  WriteBytes(in / u"Album/notes.flac", "Recorded live in one take.\n");
  std::vector<std::u16string> list = files;
  list.insert(list.begin() + 2, in / u"Album/notes.flac");
  const std::u16string listFile = in / u"TMP7.tmp";
  tessaroven::WriteListFile(listFile, list);

  const std::u16string name = EventName();
  NamedEvent selector;
  ASSERT_TRUE(selector.Create(name));
  Process kovantrix(KOVANTRIX_PATH, {Arg(u"-list_to_conv", listFile), Arg(u"-signal_event_got_files", name),
                                     "-centeronwnd=0", "--no-window", Arg(u"--output", out.Path())});
  ASSERT_TRUE(selector.Wait(std::chrono::seconds(60)));
  // The selector deletes the list only after the converter ended; at once here:
  // the converter must not need it any more once it has signalled.
  ASSERT_TRUE(RemoveFile(listFile));
  EXPECT_EQ(kovantrix.Wait(), 1);  // some files failed

  const std::string err = kovantrix.Err();
  EXPECT_EQ(Count("\n" + err, "\nFailed "), 2u) << err;
  EXPECT_NE(err.find("gone.wav: The file does not exist"), std::string::npos) << err;
  EXPECT_NE(err.find("Converted 3 of 5 files into " + Utf16ToUtf8(out.Path())), std::string::npos) << err;
  EXPECT_EQ(DecodeWhole(out / u"Album/01 Wave.flac").samples, 8820);
  EXPECT_EQ(DecodeWhole(out / u"Album/02 Flac.flac").samples, 8820);
  const test::Decoded cover = DecodeWhole(out / u"Singles/cover.flac");
  EXPECT_TRUE(cover.info.cover.has_value());
  EXPECT_EQ(cover.Tag("title"), "Grüße ☃ Ωmega");
  EXPECT_EQ(ListFolder(out / u"Album/").size(), 2u);  // nothing for the failures, no parts
}

TEST(KovantrixTest, BadUsageAndUnreadableListsSaySo) {
  struct UsageCase {
    std::vector<std::string> args;
    int code;
    const char* says;
  };
  for (const UsageCase& c : {UsageCase{{"--no-window"}, 2, "no list of files to convert was given"},
                             UsageCase{{"-list_to_conv=DIR/l.tmp", "--format=ogg"}, 2, "there is no format 'ogg'"},
                             UsageCase{{"-list_to_conv=DIR/l.tmp", "--no-window"}, 1, "does not exist"},
                             UsageCase{{"-list_to_conv=DIR/", "--no-window"}, 1, "cannot be read"}}) {
    SCOPED_TRACE(c.says);
    TempDir dir;
    std::vector<std::string> args;
    for (std::string arg : c.args) {
      if (const auto at = arg.find("DIR/"); at != std::string::npos) arg.replace(at, 4, Utf16ToUtf8(dir.Path()));
      args.push_back(arg);
    }
    const std::u16string name = EventName();
    NamedEvent selector;
    ASSERT_TRUE(selector.Create(name));
    args.push_back(Arg(u"-signal_event_got_files", name));
    Process kovantrix(KOVANTRIX_PATH, args);
    EXPECT_EQ(kovantrix.Wait(), c.code);
    EXPECT_NE(kovantrix.Err().find(c.says), std::string::npos) << kovantrix.Err();
    // A run that took no list leaves the selector waiting for it to end, visibly.
    EXPECT_FALSE(selector.Wait(std::chrono::milliseconds(0)));
  }
}

// Unknown arguments and a selector that stopped waiting are reported, not fatal; a
// profile brings its own folder and format (the command line's format, where given,
// wins); names that are not UTF-8 arrive byte for byte.
TEST(KovantrixTest, NotesAProfileAndNamesThatAreNotUtf8) {
  TempDir in;
  TempDir phone;
  ASSERT_TRUE(SaveChoices(Choices{phone.Path(), Format::kOpus, u"64k", false}, u"Phone"));
  // "Albüm/café.wav" in Latin-1: bytes that are not UTF-8.
  const std::u16string folder = u"Alb\xDCFCm";
  const std::u16string listFile = in / u"l.tmp";
  tessaroven::WriteListFile(listFile, {Put(in, DataFile(u"tone.flac"), folder, u"caf\xDCE9.flac")});
  Process kovantrix(KOVANTRIX_PATH, {Arg(u"-list_to_conv", listFile), Arg(u"-signal_event_got_files", EventName()),
                                     "-newoption=1", "--no-window", "-additionalprofile=Phone", "--format=opus"});
  EXPECT_EQ(kovantrix.Wait(), 0);
  const std::string err = kovantrix.Err();
  EXPECT_NE(err.find("ignoring the unknown argument '-newoption=1'"), std::string::npos) << err;
  EXPECT_NE(err.find("the selector is no longer waiting"), std::string::npos) << err;
  EXPECT_EQ(ListFolder(phone.Path()), std::vector<std::u16string>{folder});
  EXPECT_EQ(Utf16ToUtf8(ListFolder(phone / folder + u"/").at(0)), "caf\xE9.opus");
  EXPECT_EQ(DecodeWhole(phone / folder + u"/caf\xDCE9.opus").info.codec, AV_CODEC_ID_OPUS);
}

// The little-endian bytes of `value`.
std::string Le(std::uint32_t value, int size) {
  std::string bytes;
  for (int i = 0; i < size; ++i) bytes.push_back(static_cast<char>(value >> (8 * i)));
  return bytes;
}

// A 16-bit stereo WAV file of `seconds` of noise, long enough to be cancelled mid-way.
std::string LongWav(std::uint32_t seconds) {
  const std::uint32_t rate = 44100;
  const std::uint32_t bytes = rate * 4 * seconds;
  std::string wav = "RIFF" + Le(36 + bytes, 4) + "WAVEfmt " + Le(16, 4) + Le(1, 2) + Le(2, 2) + Le(rate, 4) +
                    Le(rate * 4, 4) + Le(4, 2) + Le(16, 2) + "data" + Le(bytes, 4);
  std::uint32_t noise = 12345;
  for (std::uint32_t i = 0; i < bytes / 2; ++i) {
    noise = noise * 1103515245u + 12345u;
    wav += Le((noise >> 16) & 0x3FFF, 2);
  }
  return wav;
}

TEST(KovantrixTest, CtrlCStopsCleanlyAndLeavesOnlyWholeFiles) {
  TempDir in;
  TempDir out;
  const std::string wav = LongWav(30);
  std::vector<std::u16string> files;
  for (int i = 0; i < 6; ++i) {
    const std::u16string folder = tessaroven::AsciiToUtf16("F" + std::to_string(i));
    MakeFolder(in / folder);
    files.push_back(in / (folder + u"/long.wav"));
    WriteBytes(files.back(), wav);
  }
  const std::u16string listFile = in / u"l.tmp";
  tessaroven::WriteListFile(listFile, files);
  const std::u16string name = EventName();
  NamedEvent selector;
  ASSERT_TRUE(selector.Create(name));
  Process kovantrix(KOVANTRIX_PATH, {Arg(u"-list_to_conv", listFile), Arg(u"-signal_event_got_files", name),
                                     "--no-window", "--jobs=1", "--preset=best", Arg(u"--output", out.Path())});
  ASSERT_TRUE(selector.Wait(std::chrono::seconds(60)));
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  kovantrix.Interrupt();
  EXPECT_EQ(kovantrix.Wait(), 1);
  const std::string err = kovantrix.Err();
  EXPECT_NE(err.find("Cancelled. Converted "), std::string::npos) << err;
  std::size_t whole = 0;
  for (const std::u16string& folder : ListFolder(out.Path())) {
    for (const std::u16string& file : ListFolder(out / folder + u"/")) {
      EXPECT_EQ(file, u"long.flac");  // no hidden part left
      EXPECT_EQ(DecodeWhole(out / folder + u"/" + file).samples, 44100 * 30);
      ++whole;
    }
  }
  EXPECT_LT(whole, files.size());
}

TEST(KovantrixTest, TwoConvertersOnOneListWriteEachTargetOnce) {
  TempDir in;
  TempDir out;
  std::vector<std::u16string> files;
  for (int i = 0; i < 8; ++i)
    files.push_back(Put(in, DataFile(u"tone-float.wav"), tessaroven::AsciiToUtf16("D" + std::to_string(i)), u"f.wav"));
  const std::u16string listFile = in / u"l.tmp";
  tessaroven::WriteListFile(listFile, files);
  const std::vector<std::string> args{Arg(u"-list_to_conv", listFile), "--no-window", "--jobs=1",
                                      Arg(u"--output", out.Path())};
  Process first(KOVANTRIX_PATH, args);
  Process second(KOVANTRIX_PATH, args);
  first.Wait();
  second.Wait();
  const std::string both = "\n" + first.Err() + second.Err();
  // Each file is converted by one of them; the other reports it and replaces nothing.
  EXPECT_EQ(Count(both, "\nConverted  "), files.size()) << both;
  EXPECT_EQ(Count(both, "\nSkipped    "), files.size()) << both;
  for (int i = 0; i < 8; ++i) {
    const std::u16string folder = out / tessaroven::AsciiToUtf16("D" + std::to_string(i) + "/");
    EXPECT_EQ(ListFolder(folder), std::vector<std::u16string>{u"f.flac"});
    EXPECT_EQ(DecodeWhole(folder + u"f.flac").samples, 19200);
  }
}

}  // namespace
}  // namespace kovantrix
