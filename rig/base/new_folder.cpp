// SPDX-License-Identifier: Apache-2.0

#include "rig/base/new_folder.h"

#include "base/files.h"
#include "rig/base/rig_error.h"

namespace vorn::rig {

using namespace Qt::StringLiterals;

NewFolder::NewFolder(const QString &path, QStringList names)
    : m_folder(path), m_names(std::move(names)), m_isOurs(!somethingExistsAt(path))
{
    if (m_isOurs)
        createFolder(path);
    else if (!m_folder.exists()
             || !m_folder.isEmpty(QDir::AllEntries | QDir::Hidden | QDir::System
                                  | QDir::NoDotAndDotDot))
        throw RigError(u"%1 is not an empty folder."_s.arg(path));
}

NewFolder::~NewFolder()
{
    if (m_isKept)
        return;
    for (const QString &name : m_names)
        m_folder.remove(name);
    if (m_isOurs)
        QDir().rmdir(m_folder.path());
}

} // namespace vorn::rig
