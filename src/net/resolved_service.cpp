// SPDX-License-Identifier: Apache-2.0

#include "net/resolved_service.h"

#include "base/text_form.h"

namespace vorn {

std::optional<QString> txtValue(const QByteArrayList &txt, QByteArrayView key)
{
    for (const QByteArray &entry : txt) {
        const qsizetype sign = entry.indexOf('=');
        const QByteArrayView entryKey = QByteArrayView(entry).first(sign < 0 ? entry.size() : sign);
        if (entryKey.compare(key, Qt::CaseInsensitive) == 0)
            return sign < 0 ? std::nullopt : utf8Text(QByteArrayView(entry).sliced(sign + 1));
    }
    return std::nullopt;
}

} // namespace vorn
