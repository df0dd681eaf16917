// SPDX-License-Identifier: Apache-2.0

#include "views/help/folder_view_model.h"

#include "base/display_text.h"
#include "base/files.h"
#include "desktop/file_reveal.h"

#include <QDir>

#include <filesystem>

namespace vorn {

using namespace Qt::StringLiterals;

FolderViewModel::FolderViewModel(QString title, const QString &stated, QString path)
    : m_title(std::move(title)),
      m_path(std::move(path)),
      m_differs(m_path != resolvedPath(QDir::homePath(), stated))
{
    look();
}

QString FolderViewModel::shownPath() const
{
    return displayText(m_path, longestMessage);
}

void FolderViewModel::look()
{
    // What cannot be looked at may be there; the file browser will tell.
    std::error_code failure;
    const auto status = std::filesystem::status(m_path.toStdString(), failure);
    m_obstacle = status.type() == std::filesystem::file_type::not_found
                     ? u"This folder is made when it is first needed."_s
                     : QString();
    Q_EMIT looked();
}

void FolderViewModel::open() const
{
    openFolder(m_path);
}

} // namespace vorn
