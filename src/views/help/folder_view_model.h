// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace vorn {

/// A folder that the program keeps something in. Context: UI thread.
class FolderViewModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Part of the help view model.")
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(bool differs READ differs CONSTANT)
    Q_PROPERTY(QString path READ shownPath CONSTANT)
    Q_PROPERTY(QString obstacle READ obstacle NOTIFY looked)
public:
    /// `stated` is what Settings says of it, from the home folder on; empty when that says nothing.
    FolderViewModel(QString title, const QString &stated, QString path);

    [[nodiscard]] const QString &title() const { return m_title; }
    /// From what Settings says.
    [[nodiscard]] bool differs() const { return m_differs; }
    [[nodiscard]] const QString &path() const { return m_path; }
    [[nodiscard]] QString shownPath() const;
    /// Why it cannot be opened; empty when nothing is known to be against it.
    [[nodiscard]] QString obstacle() const { return m_obstacle; }

    /// Looks whether it is there.
    void look();
    Q_INVOKABLE void open() const;

Q_SIGNALS:
    void looked();

private:
    QString m_title;
    QString m_path;
    bool m_differs;
    QString m_obstacle;
};

} // namespace vorn
