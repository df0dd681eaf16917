// SPDX-License-Identifier: Apache-2.0

#include "net/library_versions.h"

namespace vorn {

QString avahiVersion()
{
    return QStringLiteral(VORN_AVAHI_VERSION);
}

} // namespace vorn
