// SPDX-License-Identifier: Apache-2.0

#include "desktop/sleep_inhibitor.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>

using namespace Qt::StringLiterals;

namespace vorn {

SleepInhibitor::SleepInhibitor(const QString &reason)
{
    QDBusMessage call =
        QDBusMessage::createMethodCall(u"org.freedesktop.login1"_s, u"/org/freedesktop/login1"_s,
                                       u"org.freedesktop.login1.Manager"_s, u"Inhibit"_s);
    call << u"sleep:idle"_s << u"VORN"_s << reason << u"block"_s;
    m_lock =
        std::make_unique<QDBusPendingCallWatcher>(QDBusConnection::systemBus().asyncCall(call));
}

SleepInhibitor::~SleepInhibitor() = default;

} // namespace vorn
