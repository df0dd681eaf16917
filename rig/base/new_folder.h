// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QDir>
#include <QStringList>

namespace vorn::rig {

/// A folder in the making. Unless kept, it ends as it began: away, or empty.
class NewFolder {
public:
    /// The folder must be empty, or not be there while its parent is; `names` are the files that
    /// may come into it. Throws RigError, or the FileError of the system.
    NewFolder(const QString &path, QStringList names);
    NewFolder(const NewFolder &) = delete;
    NewFolder &operator=(const NewFolder &) = delete;
    ~NewFolder();

    void keep() { m_isKept = true; }

private:
    QDir m_folder;
    QStringList m_names;
    bool m_isOurs = false;
    bool m_isKept = false;
};

} // namespace vorn::rig
