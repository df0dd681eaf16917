// SPDX-License-Identifier: Apache-2.0

// Any text as a name that is shown: nothing in it can reorder, hide or break a line.

#include "base/display_text.h"
#include "check.h"

#include <QList>

using namespace vorn;

namespace {

// Joiners, and what chooses the form of an emoji, stay where they are needed.
bool mayStay(uint c)
{
    return c == 0x200C || c == 0x200D || c == 0xFE0E || c == 0xFE0F;
}

void checkText(const QString &text)
{
    const QString shown = displayText(text, text.size());
    for (const uint c : shown.toUcs4()) {
        const auto category = QChar::category(c);
        check(mayStay(c)
                  || (category != QChar::Other_Control && category != QChar::Other_Format
                      && category != QChar::Separator_Line
                      && category != QChar::Separator_Paragraph),
              "nothing is hidden");
    }
    check(shown.isValidUtf16(), "what is shown is whole");
    check(displayText(shown, shown.size()) == shown, "what is shown is shown as it is");
    constexpr qsizetype few = 5;
    const QString start = displayText(text, few);
    const bool isCut = text.toUcs4().size() > few;
    check(start.endsWith(u'\u2026') || !isCut, "what is cut says so");
    check(shown.startsWith(isCut ? QStringView(start).chopped(1) : QStringView(start)),
          "a cut text begins as the whole one");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    checkText(QString::fromUtf8(inputBytes(data, size)));
    checkText(inputUnits(data, size));
    return 0;
}
