#include <QDBusConnection>
#include <QDBusMessage>
#include <QDesktopServices>
#include <QFileInfo>
#include <QString>
#include <QStringList>
#include <QUrl>

#include "base/text.h"
#include "ui/file_manager.h"

namespace tessaroven {

namespace {

// The file's URL from its bytes on disk: a name that is not UTF-8 keeps its bytes.
QUrl FileUrl(const std::u16string& file) {
  const std::string bytes = ToOsString(file);
  return QUrl::fromLocalFile(QFile::decodeName(QByteArray(bytes.data(), static_cast<qsizetype>(bytes.size()))));
}

}  // namespace

bool ShowInFileManager(const std::u16string& file) {
  const QUrl url = FileUrl(file);
  QDBusConnection bus = QDBusConnection::sessionBus();
  if (bus.isConnected()) {
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    call << QStringList{url.toString(QUrl::FullyEncoded)} << QString();
    // A file manager that starts on demand may take a moment; the user pressed a
    // button and waits for a window anyway.
    const QDBusMessage reply = bus.call(call, QDBus::Block, 5000);
    if (reply.type() == QDBusMessage::ReplyMessage) return true;
  }
  return QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(url.toLocalFile()).absolutePath()));
}

}  // namespace tessaroven
