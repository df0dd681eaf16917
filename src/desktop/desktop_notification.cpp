// SPDX-License-Identifier: Apache-2.0

#include "desktop/desktop_notification.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QStringList>
#include <QVariantMap>

using namespace Qt::StringLiterals;

namespace vorn {

void showDesktopNotification(const QString &summary, const QString &body)
{
    constexpr uint replacesNone = 0;
    constexpr int serviceDecidesHowLong = -1;
    QDBusMessage call = QDBusMessage::createMethodCall(
        u"org.freedesktop.Notifications"_s, u"/org/freedesktop/Notifications"_s,
        u"org.freedesktop.Notifications"_s, u"Notify"_s);
    call << u"VORN"_s << replacesNone << QString() << summary << body << QStringList()
         << QVariantMap{{u"desktop-entry"_s, u"vorn-desktop"_s}} << serviceDecidesHowLong;
    QDBusConnection::sessionBus().send(call);
}

} // namespace vorn
