// SPDX-License-Identifier: Apache-2.0

#include "desktop/display_inhibitor.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

QDBusMessage screenSaverCall(const QString &method)
{
    return QDBusMessage::createMethodCall(u"org.freedesktop.ScreenSaver"_s,
                                          u"/org/freedesktop/ScreenSaver"_s,
                                          u"org.freedesktop.ScreenSaver"_s, method);
}

void giveBack(QDBusPendingCallWatcher *lock)
{
    const QDBusPendingReply<quint32> cookie = *lock;
    if (!cookie.isError()) {
        QDBusMessage call = screenSaverCall(u"UnInhibit"_s);
        call << cookie.value();
        QDBusConnection::sessionBus().send(call);
    }
    lock->deleteLater();
}

} // namespace

DisplayInhibitor::DisplayInhibitor(const QString &reason)
{
    QDBusMessage call = screenSaverCall(u"Inhibit"_s);
    call << u"VORN"_s << reason;
    m_lock =
        std::make_unique<QDBusPendingCallWatcher>(QDBusConnection::sessionBus().asyncCall(call));
}

DisplayInhibitor::~DisplayInhibitor()
{
    QDBusPendingCallWatcher *lock = m_lock.release();
    if (lock->isFinished())
        giveBack(lock);
    else
        QObject::connect(lock, &QDBusPendingCallWatcher::finished, &giveBack);
}

} // namespace vorn
