// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QProcess>
#include <QString>

namespace vorn {

/// What xmllint has against a document by fcpxml-1.7.dtd; empty for nothing.
inline QString fcpxmlFaults(const QString &document)
{
    using namespace Qt::StringLiterals;
    QProcess xmllint;
    xmllint.start(u"xmllint"_s, {u"--noout"_s, u"--nonet"_s, u"--dtdvalid"_s,
                                 QStringLiteral(VORN_FCPXML_DTD), u"-"_s});
    if (!xmllint.waitForStarted())
        return u"xmllint of libxml2-utils is needed"_s;
    xmllint.write(document.toUtf8());
    xmllint.closeWriteChannel();
    xmllint.waitForFinished();
    const QString faults = QString::fromUtf8(xmllint.readAllStandardError());
    return xmllint.exitCode() == 0 ? faults : u"refused: "_s + faults;
}

} // namespace vorn
