// SPDX-License-Identifier: Apache-2.0

#include "netcheck/network_report.h"

#include <QSysInfo>

using namespace Qt::StringLiterals;

namespace vorn {

QString networkReport(const std::vector<NetworkFinding> &findings, const QString &program,
                      const QDateTime &time)
{
    QString text = u"%1, network check of %2\n%3, %4 %5\n\n"_s.arg(
        program, time.toUTC().toString(Qt::ISODate), QSysInfo::prettyProductName(),
        QSysInfo::kernelType(), QSysInfo::kernelVersion());
    for (const NetworkFinding &finding : findings) {
        text += u"%1  %2: %3\n"_s.arg(finding.isGood ? u"ok"_s : u"!!"_s, finding.title,
                                      finding.statement);
        if (!finding.advice.isEmpty())
            text += u"    %1\n"_s.arg(finding.advice);
    }
    return text;
}

} // namespace vorn
