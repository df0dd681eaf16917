// SPDX-License-Identifier: Apache-2.0

// Any text as an identifier: its folder-safe form is one plain, short component of a path.

#include "check.h"
#include "library/safe_identifier.h"

#include <QList>

using namespace Qt::StringLiterals;
using namespace vorn;

namespace {

void checkName(const QString &text)
{
    const QString name = safeIdentifier(text);
    for (const char32_t character : name.toUcs4()) {
        check(character != U'/' && character != U'\\', "no separator");
        check(character != U'.', "no dot");
        check(QChar::category(character) != QChar::Other_Control, "no control character");
    }
    check(name.isValidUtf16(), "no lone surrogate");
    check(name.toUtf8().size() <= 255, "at most 255 bytes");
    check(!name.startsWith(u'-') && !name.endsWith(u'-'), "no hyphen at the ends");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    checkName(QString::fromUtf8(inputBytes(data, size)));
    checkName(inputUnits(data, size));
    return 0;
}
