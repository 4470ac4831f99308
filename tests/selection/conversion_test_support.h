// What the hand-off tests share: command-line tables and a window side that
// records its calls.
#pragma once

#include <string>
#include <vector>

#include "selection/conversion.h"
#include "selection/profiles.h"

namespace tessaroven::test {

// Command lines and how the Windows rules split them. On Windows the same table is
// also checked against the system's own parser.
struct SplitCase {
  const char* name;
  std::u16string text;
  std::vector<std::u16string> arguments;
};

inline const std::vector<SplitCase> kSplitCases = {
    {"SpacesAndTabsSeparate", u"  a\tb   c ", {u"a", u"b", u"c"}},
    {"Empty", u"", {}},
    {"QuotesGroupAndAreDropped", u"-x=\"a b\"c d", {u"-x=a bc", u"d"}},
    {"EmptyQuotesAreAnEmptyArgument", u"a \"\" b", {u"a", u"", u"b"}},
    {"BackslashesWithoutQuoteAreLiteral", u"C:\\a\\\\b\\", {u"C:\\a\\\\b\\"}},
    {"EvenBackslashesBeforeQuoteHalveAndGroup", u"\"a\\\\\" b", {u"a\\", u"b"}},
    {"OddBackslashesBeforeQuoteGiveAQuote", u"a\\\"b \"c\\\\\\\"d\"", {u"a\"b", u"c\\\"d"}},
    {"EscapedQuoteStaysInsideTheGroup", u"\"a\\\" b\" c", {u"a\" b", u"c"}},
    {"DoubledQuoteInsideAGroupIsAQuoteAndEndsIt", u"\"a\"\"b c\"", {u"a\"b", u"c"}},
    {"TripleQuoteOutsideAGroupIsAQuote", u"\"\"\"a b", {u"\"a", u"b"}},
    {"UnclosedGroupRunsToTheEnd", u"\"a b", {u"a b"}},
    {"QuadrupledQuotesInsideAGroup", u"\"a\"\"\"\"b\"", {u"a\"b"}},
    {"TripleQuoteInsideAnArgument", u"a\"\"\"b\"\" c", {u"a\"b", u"c"}},
    {"FourBackslashesBeforeQuote", u"x \\\\\\\\\"y z\"", {u"x", u"\\\\y z"}},
    // A quote inside a quoted path ends the group: the path falls apart. This is why
    // the values are escaped.
    {"QuoteInsideAPathSplitsIt", u"-l=\"/t/a\" b.tmp\" -s", {u"-l=/t/a", u"b.tmp -s"}},
    {"NewlinesAreOrdinary", u"a\nb \"c\nd\"", {u"a\nb", u"c\nd"}},
};

// Values that must come back whole through the escaping and the split: the escaping
// only treats quotes and the backslashes before them or at the end differently.
struct QuotedValueCase {
  const char* name;
  std::u16string value;
};

inline const std::vector<QuotedValueCase> kQuotedValues = {
    {"Empty", u""},
    {"SpacesAndTab", u" a\tb "},
    {"Quotes", u"\"say \"hi\"\""},
    {"BackslashesBeforeQuotes", u"a\\\"b\\\\\"c\\\""},
    {"BackslashesInsideAndAtTheEnd", u"C:\\Te mp\\\\\\"},
};

// The window's side: records every call in order.
class RecordingHost : public ConversionHost {
 public:
  RecordingHost() : filters_(FilterFieldNames{}) {
    for (const char16_t* extension : {u".mp3", u".flac", u".ogg", u".wav"})
      filters_.Types().Records().Add(DecoderTypeRecord{extension, u"audio", false});
  }

  void SetBusy(bool busy) override { log.push_back(busy ? "busy" : "arrow"); }
  void ShowProgress(const CollectProgress& progress, XEvent& cancel, const XEvent& finished) override {
    log.push_back("progress");
    progressText = progress.Text();
    if (cancelProgress) cancel.Set();
    finished.Wait(std::chrono::milliseconds(-1));
  }
  void StopMetadataReader() override { log.push_back("stop-reader"); }
  const SelectionLists& Lists() const override { return lists; }
  FilterState& Filters() override { return filters_; }
  clQzDecoder& Decoder() override { return decoder_; }
  std::int64_t WindowHandle() const override { return window; }
  std::u16string ProfileBoxText() const override { return profile; }
  NamedEvent* AcceptEvent() override { return accept; }
  void HideWindow() override { log.push_back("hide"); }
  void ShowWindow() override { log.push_back("show"); }
  void RefreshTree() override { log.push_back("refresh"); }

  SelectionLists lists;
  std::int64_t window = 0;
  std::u16string profile = std::u16string(kNoProfileEntry);
  NamedEvent* accept = nullptr;
  bool cancelProgress = false;
  std::u16string progressText;
  std::vector<std::string> log;

 private:
  FilterState filters_;
  clQzDecoder decoder_;
};

}  // namespace tessaroven::test
