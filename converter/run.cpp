#include "converter/run.h"

extern "C" {
#include <libavutil/log.h>
}

#include "base/path.h"
#include "converter/console.h"
#include "converter/terminal_face.h"

namespace kovantrix {

Plan Prepare(const std::vector<std::u16string>& arguments) {
  Plan plan;
  plan.arguments = ParseArguments(arguments);
  const Arguments& args = plan.arguments;
  for (const std::u16string& ignored : args.ignored)
    plan.notes += u"kovantrix: ignoring the unknown argument '" + ignored + u"'\n";
  if (args.help) {
    plan.notes += UsageText();
    plan.exitNow = kExitAllConverted;
    return plan;
  }
  if (args.version) {
    plan.notes += u"kovantrix " KOVANTRIX_VERSION "\n";
    plan.exitNow = kExitAllConverted;
    return plan;
  }

  // Everything the command line can get wrong is found before the list is taken:
  // a run that stops for bad usage must not have told the selector it started.
  std::vector<std::u16string> errors = args.usageErrors;
  const FormatInfo* format = nullptr;
  if (args.format) {
    format = FindFormat(*args.format);
    if (format == nullptr) errors.push_back(u"--format: there is no format '" + *args.format + u"'");
  }
  if (!errors.empty()) {
    for (const std::u16string& error : errors) plan.failure += u"kovantrix: " + error + u"\n";
    plan.failure += UsageText();
    plan.exitNow = kExitBadUsage;
    return plan;
  }

  Received received = ReceiveList(args);
  if (!received.list.read) {
    plan.failure = received.list.error;
    plan.exitNow = kExitSomeNotConverted;
    return plan;
  }
  plan.files = std::move(received.list.paths);
  if (!received.signalProblem.empty()) plan.notes += u"kovantrix: " + received.signalProblem + u"\n";

  plan.choices = LoadChoices(args.profile);
  if (format) {
    plan.choices.format = format->format;
    plan.choices.preset = std::u16string(format->presets[format->defaultPreset].name);
  }
  if (args.preset) {
    const Preset* preset = FindPreset(plan.choices.Info(), *args.preset);
    if (preset == nullptr) {
      plan.notes += u"kovantrix: " + std::u16string(plan.choices.Info().label) + u" has no preset '" + *args.preset +
                    u"'; using '" + std::u16string(plan.choices.ThePreset().name) + u"'\n";
    } else {
      plan.choices.preset = std::u16string(preset->name);
    }
  }
  if (args.outputFolder) plan.choices.outputFolder = tessaroven::WithTrailingSeparator(*args.outputFolder);
  if (args.overwrite) plan.choices.overwrite = *args.overwrite;
  if (plan.files.empty()) {
    plan.failure = u"The list of files is empty: there is nothing to convert.";
    plan.exitNow = kExitAllConverted;
  } else if (plan.choices.outputFolder.empty()) {
    plan.failure = u"There is no output folder: choose one with --output=FOLDER.";
    plan.exitNow = kExitBadUsage;
  }
  return plan;
}

int ExitCodeFor(const Tally& tally) {
  return tally.done == tally.total ? kExitAllConverted : kExitSomeNotConverted;
}

void QuietFfmpeg() { av_log_set_level(AV_LOG_QUIET); }

int RunInTerminal(const Plan& plan) {
  Batch batch(plan.files, plan.choices, plan.arguments.jobs.value_or(DefaultWorkerCount()));
  InstallInterruptHandler(batch.CancelFlag());
  const bool bar = StderrIsTerminal();
  TerminalFace face(bar, bar ? TerminalWidth() : 80);
  face.Run(batch);
  InstallInterruptHandler(nullptr);
  return ExitCodeFor(batch.Count());
}

}  // namespace kovantrix
