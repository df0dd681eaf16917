// SPDX-License-Identifier: Apache-2.0

#include "views/help/help_document.h"

#include "https/library_versions.h"
#include "media/library_versions.h"
#include "net/library_versions.h"
#include "views/controls/key_table.h"
#include "views/controls/theme_base.h"

#include <QCoreApplication>
#include <QFile>
#include <QImageReader>
#include <QSysInfo>
#include <QTextBlock>
#include <QTextDocument>

#include <optional>

namespace vorn {

using namespace Qt::StringLiterals;

namespace {

constexpr auto guideFolder = ":/guide/"_L1;

QString resourceText(const QString &path)
{
    QFile file(path);
    if (!file.open(QFile::ReadOnly))
        qFatal("%s is not in the program", qPrintable(path));
    return QString::fromUtf8(file.readAll());
}

/// Calls `look` with each run of text of one format, or picture, as a selection.
template <class Look> void forEachFragment(QTextDocument &document, Look look)
{
    struct Run {
        int start;
        int end;
        QTextCharFormat format;
    };
    std::vector<Run> runs; // what `look` changes would end a walk
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        for (auto i = block.begin(); !i.atEnd(); ++i) {
            const QTextFragment fragment = i.fragment();
            runs.push_back({fragment.position(), fragment.position() + fragment.length(),
                            fragment.charFormat()});
        }
    }
    for (auto run = runs.rbegin(); run != runs.rend(); ++run) {
        QTextCursor cursor(&document);
        cursor.setPosition(run->start);
        cursor.setPosition(run->end, QTextCursor::KeepAnchor);
        look(cursor, run->format);
    }
}

void setFonts(QTextDocument &document)
{
    const ThemeBase theme;
    QFont font(theme.sans);
    font.setPixelSize(theme.bodySize);
    document.setDefaultFont(font);
}

void setSpacing(QTextDocument &document)
{
    constexpr int lineHeightPercent = 135;
    constexpr int aboveHeading = 18;
    constexpr int belowHeading = 6;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        if (block.text().contains(QChar::ObjectReplacementCharacter))
            continue; // a picture is a high line already
        QTextBlockFormat format;
        format.setLineHeight(lineHeightPercent, QTextBlockFormat::ProportionalHeight);
        if (block.blockFormat().headingLevel() > 0) {
            format.setTopMargin(block == document.begin() ? 0 : aboveHeading);
            format.setBottomMargin(belowHeading);
        }
        QTextCursor(block).mergeBlockFormat(format);
    }
}

HelpDocument richDocument(QTextDocument &document, const QString &plain)
{
    setSpacing(document);
    return {document.toHtml(), plain};
}

/// Lines of two columns under a heading.
struct Table {
    QString heading;
    std::vector<std::pair<QString, QString>> rows;
};

HelpDocument tablesDocument(const std::vector<Table> &tables)
{
    QString html;
    QStringList plain;
    for (const Table &table : tables) {
        html += u"<h3>%1</h3>"_s.arg(table.heading.toHtmlEscaped());
        plain += table.heading;
        for (const auto &[left, right] : table.rows) {
            html += u"<p style='white-space: pre-wrap; margin: 0px'>%1\t%2</p>"_s.arg(
                left.toHtmlEscaped(), right.toHtmlEscaped());
            plain += left + u'\t' + right;
        }
        plain += QString();
    }
    QTextDocument document;
    setFonts(document);
    document.setHtml(html);
    return richDocument(document, plain.join(u'\n'));
}

QString asBuilt(const QString &version)
{
    return version + u" (as built; the library does not tell)"_s;
}

} // namespace

std::vector<GuidePage> guidePages()
{
    QTextDocument contents;
    contents.setMarkdown(resourceText(guideFolder + u"README.md"_s));
    std::vector<GuidePage> pages;
    forEachFragment(contents, [&pages](const QTextCursor &link, const QTextCharFormat &format) {
        if (format.anchorHref().endsWith(u".md"_s))
            pages.insert(pages.begin(), {format.anchorHref(), link.selectedText()});
    });
    return pages;
}

HelpDocument guideDocument(const QString &file)
{
    QTextDocument document;
    setFonts(document);
    document.setMarkdown(resourceText(guideFolder + file));
    if (document.begin().blockFormat().headingLevel() == 1) { // the window shows the title itself
        QTextCursor title(document.begin());
        title.movePosition(QTextCursor::NextBlock, QTextCursor::KeepAnchor);
        title.removeSelectedText();
    }
    forEachFragment(document, [](QTextCursor piece, const QTextCharFormat &format) {
        if (format.isImageFormat()) {
            QTextImageFormat image = format.toImageFormat();
            const QString path = guideFolder + image.name();
            QSizeF size = QImageReader(path).size();
            if (size.width() > readingWidth)
                size *= readingWidth / size.width();
            image.setName(u"qrc"_s + path);
            image.setWidth(size.width());
            image.setHeight(size.height());
            piece.setCharFormat(image);
        } else if (format.fontFixedPitch()) {
            QTextCharFormat code;
            code.setFontFamilies({u"JetBrains Mono"_s});
            piece.mergeCharFormat(code);
        }
    });
    const std::unique_ptr<QTextDocument> spoken(document.clone());
    forEachFragment(*spoken, [](QTextCursor piece, const QTextCharFormat &format) {
        if (format.isImageFormat())
            piece.insertText(format.stringProperty(QTextFormat::ImageAltText));
    });
    return richDocument(document, spoken->toPlainText());
}

HelpDocument shortcutsDocument()
{
    std::vector<Table> tables;
    std::optional<KeyTable::Place> place;
    for (const KeyTable::Row &row : KeyTable::rows()) {
        if (row.place != place)
            tables.push_back({KeyTable::title(row.place), {}});
        place = row.place;
        tables.back().rows.emplace_back(row.sequence.toString(), row.what.toString());
    }
    return tablesDocument(tables);
}

HelpDocument versionsDocument()
{
    const Table program{u"Program"_s,
                        {{u"VORN Desktop"_s, QCoreApplication::applicationVersion()},
                         {u"System"_s, QSysInfo::prettyProductName()}}};
    const Table libraries{u"Libraries"_s,
                          {{u"Qt"_s, QString::fromLatin1(qVersion())},
                           {u"libcurl"_s, curlVersion()},
                           {u"OpenSSL"_s, opensslVersion()},
                           {u"Avahi"_s, asBuilt(avahiVersion())},
                           {u"libjpeg-turbo"_s, asBuilt(jpegVersion())}}};
    return tablesDocument({program, libraries});
}

HelpDocument licencesDocument()
{
    const QString text =
        resourceText(u":/licences/NOTICE"_s) + u"\n\n"_s + resourceText(u":/licences/LICENSE"_s);
    return {{}, text};
}

} // namespace vorn
