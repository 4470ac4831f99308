#include "ui/message_box_prompts.h"

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QMessageBox>
#include <QTimer>
#include <atomic>
#include <thread>

#include "qt_test_app.h"

namespace tessaroven {
namespace {

class MessageBoxPromptsTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { test::UseOffscreenQt(); }

  // Answers the next message box that opens, as a user would, and records what it
  // looked like.
  void AnswerNextBox(QMessageBox::StandardButton press) {
    auto* poll = new QTimer;
    QObject::connect(poll, &QTimer::timeout, poll, [this, poll, press] {
      auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
      if (box == nullptr) return;
      seenText_ = box->text();
      seenCaption_ = box->windowTitle();
      seenIcon_ = box->icon();
      seenButtons_ = box->standardButtons();
      poll->deleteLater();
      if (press == QMessageBox::NoButton) {
        box->reject();
      } else {
        box->button(press)->click();
      }
    });
    poll->start(10);
  }

  QString seenText_;
  QString seenCaption_;
  QMessageBox::Icon seenIcon_ = QMessageBox::NoIcon;
  QMessageBox::StandardButtons seenButtons_;
};

// Each style shows its buttons and icon and answers with the button pressed; closing
// the box with Escape (NoButton here) answers No or Cancel.
TEST_F(MessageBoxPromptsTest, AnswersWithTheButtonPressed) {
  const struct {
    std::uint32_t style;
    QMessageBox::StandardButton press;
    int answer;
    QMessageBox::Icon icon;
  } cases[] = {
      {kPromptOk | kPromptIconError, QMessageBox::Ok, kAnswerOk, QMessageBox::Critical},
      {kPromptYesNo | kPromptIconQuestion, QMessageBox::Yes, kAnswerYes, QMessageBox::Question},
      {kPromptYesNo | kPromptIconQuestion, QMessageBox::No, kAnswerNo, QMessageBox::Question},
      {kPromptYesNo, QMessageBox::NoButton, kAnswerNo, QMessageBox::NoIcon},
      {kPromptRetryCancel | kPromptIconWarning, QMessageBox::Retry, kAnswerRetry, QMessageBox::Warning},
      {kPromptRetryCancel | kPromptIconWarning, QMessageBox::Cancel, kAnswerCancel, QMessageBox::Warning},
      {kPromptRetryCancel, QMessageBox::NoButton, kAnswerCancel, QMessageBox::NoIcon},
      {kPromptOk | kPromptIconInformation, QMessageBox::Ok, kAnswerOk, QMessageBox::Information},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "style " << c.style << ", button " << c.press);
    MessageBoxPrompts prompts;
    AnswerNextBox(c.press);
    EXPECT_EQ(prompts.Show(u"Clear All Selections?", u"Tessaroven Batch Converter", c.style), c.answer);
    EXPECT_EQ(seenText_, QStringLiteral("Clear All Selections?"));
    EXPECT_EQ(seenCaption_, QStringLiteral("Tessaroven Batch Converter"));
    EXPECT_EQ(seenIcon_, c.icon);
    EXPECT_TRUE(c.press == QMessageBox::NoButton || seenButtons_.testFlag(c.press));
  }
}

// A worker's question (a file it cannot write, say) opens on the window's thread
// while the worker waits for the answer.
TEST_F(MessageBoxPromptsTest, AWorkersQuestionIsAskedOnTheWindowThread) {
  MessageBoxPrompts prompts;
  AnswerNextBox(QMessageBox::Retry);
  std::atomic<int> answer{0};
  std::thread worker(
      [&] { answer = prompts.Show(u"Cannot write", u"Tessaroven Batch Converter", kPromptRetryCancel); });
  EXPECT_TRUE(test::SpinUntil([&] { return answer.load() != 0; }));
  worker.join();
  EXPECT_EQ(answer.load(), kAnswerRetry);
  EXPECT_EQ(seenText_, QStringLiteral("Cannot write"));
}

}  // namespace
}  // namespace tessaroven
