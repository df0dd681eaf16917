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

void revealFile(const QString &path)
{
    const QUrl folder = QUrl::fromLocalFile(QFileInfo(path).path());
    // The freedesktop.org file manager interface; ShowItems(uris, startup id).
    QDBusMessage message = QDBusMessage::createMethodCall(
        u"org.freedesktop.FileManager1"_s, u"/org/freedesktop/FileManager1"_s,
        u"org.freedesktop.FileManager1"_s, u"ShowItems"_s);
    message.setArguments(
        {QStringList{QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded)}, QString()});
    auto *watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(message));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [watcher, folder] {
        if (QDBusPendingReply<>(*watcher).isError())
            QDesktopServices::openUrl(folder);
        watcher->deleteLater();
    });
}

} // namespace vorn
