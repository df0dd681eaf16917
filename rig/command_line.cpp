// SPDX-License-Identifier: Apache-2.0

#include "rig/command_line.h"

#include <QCoreApplication>

namespace vorn::rig {

using namespace Qt::StringLiterals;

void print(std::FILE *stream, const QString &text)
{
    std::fputs(text.toUtf8().constData(), stream);
    std::fflush(stream);
}

bool parse(QCommandLineParser &parser, const QString &command, const QString &moreHelp)
{
    parser.addPositionalArgument(command, QString(), command);
    const QCommandLineOption help({u"h"_s, u"help"_s}, u"Show this text."_s);
    parser.addOption(help);
    if (!parser.parse(QCoreApplication::arguments()))
        throw UsageError(parser.errorText());
    if (parser.isSet(help)) {
        print(stdout, parser.helpText() + moreHelp);
        return false;
    }
    if (parser.positionalArguments().size() != 1)
        throw UsageError(u"Unexpected argument %1."_s.arg(parser.positionalArguments().at(1)));
    return true;
}

qint64 wholeNumber(const QCommandLineParser &parser, const QString &option, qint64 least,
                   qint64 most)
{
    bool isNumber = false;
    const qint64 value = parser.value(option).toLongLong(&isNumber);
    if (!isNumber || value < least || value > most)
        throw UsageError(
            u"--%1 must be a whole number from %2 to %3."_s.arg(option).arg(least).arg(most));
    return value;
}

QString required(const QCommandLineParser &parser, const QString &option)
{
    const QString value = parser.value(option);
    if (value.isEmpty())
        throw UsageError(u"--%1 is missing."_s.arg(option));
    return value;
}

} // namespace vorn::rig
