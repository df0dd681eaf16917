// SPDX-License-Identifier: Apache-2.0

#include "desktop/file_reveal.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDesktopServices>
#include <QFileInfo>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

// A call of the freedesktop.org file manager interface: ShowItems or ShowFolders, both (uris,
// startup id).
void askBrowser(const QString &call, const QString &path, const QString &folder)
{
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) { // a call would never be answered, not even by an error
        QDesktopServices::openUrl(QUrl::fromLocalFile(folder));
        return;
    }
    QDBusMessage message = QDBusMessage::createMethodCall(u"org.freedesktop.FileManager1"_s,
                                                          u"/org/freedesktop/FileManager1"_s,
                                                          u"org.freedesktop.FileManager1"_s, call);
    message.setArguments(
        {QStringList{QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded)}, QString()});
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(message));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [watcher, folder] {
        if (QDBusPendingReply<>(*watcher).isError())
            QDesktopServices::openUrl(QUrl::fromLocalFile(folder));
        watcher->deleteLater();
    });
}

} // namespace

void revealFile(const QString &path)
{
    askBrowser(u"ShowItems"_s, path, QFileInfo(path).path());
}

void openFolder(const QString &path)
{
    askBrowser(u"ShowFolders"_s, path, path);
}

} // namespace vorn
