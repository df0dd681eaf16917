// SPDX-License-Identifier: Apache-2.0

#include "director/edit_log_text.h"

using namespace Qt::StringLiterals;

namespace vorn {
namespace {

// Tabs and line ends, those of Unicode included, and with them the other control characters.
QString oneCell(QString text)
{
    for (QChar &character : text) {
        const auto category = character.category();
        if (category == QChar::Other_Control || category == QChar::Separator_Line
            || category == QChar::Separator_Paragraph)
            character = u' ';
    }
    return text;
}

QString clock(qint64 seconds)
{
    return QString::asprintf("%02lld:%02lld:%02lld", seconds / 3600, seconds / 60 % 60,
                             seconds % 60);
}

} // namespace

QString elapsedText(double seconds)
{
    return clock(qint64(seconds));
}

QString editKindText(const DirectorEditEvent &event)
{
    return event.transition ? text(*event.transition) : u"MARK"_s;
}

QString editDetailText(const DirectorEditEvent &event, const CameraNaming &nameOf)
{
    return event.kind == DirectorEditEventKind::marker ? event.label.value_or(u"Marker"_s)
                                                       : nameOf(event.toCameraID);
}

QString editLogTable(std::span<const DirectorEditEvent> events, const CameraNaming &nameOf)
{
    QString table = u"Time\tEdit\tCamera or label\n"_s;
    for (const DirectorEditEvent &event : events) {
        const auto milliseconds = qint64(event.elapsedSeconds * 1000);
        table += clock(milliseconds / 1000) + QString::asprintf(".%03lld\t", milliseconds % 1000)
                 + editKindText(event) + u'\t' + oneCell(editDetailText(event, nameOf)) + u'\n';
    }
    return table;
}

} // namespace vorn
