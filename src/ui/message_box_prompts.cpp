#include "ui/message_box_prompts.h"

#include <QApplication>
#include <QMessageBox>
#include <QThread>

namespace tessaroven {

namespace {

QString ToQString(std::u16string_view text) {
  return QString::fromUtf16(text.data(), static_cast<qsizetype>(text.size()));
}

QMessageBox::Icon IconOf(std::uint32_t style) {
  switch (style & 0xF0) {
    case kPromptIconError:
      return QMessageBox::Critical;
    case kPromptIconQuestion:
      return QMessageBox::Question;
    case kPromptIconWarning:
      return QMessageBox::Warning;
    case kPromptIconInformation:
      return QMessageBox::Information;
    default:
      return QMessageBox::NoIcon;
  }
}

int AskOnThisThread(const QString& text, const QString& caption, std::uint32_t style) {
  QMessageBox box(IconOf(style), caption, text, QMessageBox::NoButton, QApplication::activeWindow());
  struct Choice {
    QMessageBox::StandardButton button;
    int answer;
  };
  std::vector<Choice> choices;
  switch (style & kPromptButtonMask) {
    case kPromptYesNo:
      choices = {{QMessageBox::Yes, kAnswerYes}, {QMessageBox::No, kAnswerNo}};
      break;
    case kPromptRetryCancel:
      choices = {{QMessageBox::Retry, kAnswerRetry}, {QMessageBox::Cancel, kAnswerCancel}};
      break;
    default:
      choices = {{QMessageBox::Ok, kAnswerOk}};
      break;
  }
  for (const Choice& choice : choices) box.addButton(choice.button);
  box.setDefaultButton(choices.front().button);
  box.setEscapeButton(choices.back().button);
  const auto pressed = static_cast<QMessageBox::StandardButton>(box.exec());
  for (const Choice& choice : choices) {
    if (choice.button == pressed) return choice.answer;
  }
  // Closed without a button: what Escape would have chosen.
  return choices.back().answer;
}

}  // namespace

int MessageBoxPrompts::Show(std::u16string_view text, std::u16string_view caption, std::uint32_t style) {
  const QString qText = ToQString(text);
  const QString qCaption = ToQString(caption);
  QCoreApplication* application = QCoreApplication::instance();
  if (application == nullptr) return (style & kPromptButtonMask) == kPromptOk ? kAnswerOk : kAnswerCancel;
  if (QThread::currentThread() == application->thread()) return AskOnThisThread(qText, qCaption, style);
  int answer = kAnswerCancel;
  QMetaObject::invokeMethod(
      application, [&] { answer = AskOnThisThread(qText, qCaption, style); }, Qt::BlockingQueuedConnection);
  return answer;
}

}  // namespace tessaroven
