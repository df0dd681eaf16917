// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QAbstractItemModel>
#include <QObject>
#include <QPointer>
#include <QTimer>
#include <QtQml/qqmlregistration.h>

namespace vorn {

/// Finds a row of a list by what is typed while the list has the keyboard: the next one that begins
/// with it, otherwise the next that contains it. Letters that follow within a second go on; the
/// same one again goes to the next row. Context: UI thread.
class TypedSearch : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QAbstractItemModel *model MEMBER m_model NOTIFY changed REQUIRED)
    /// The name of the text that is searched; empty where nothing is.
    Q_PROPERTY(QString role MEMBER m_role NOTIFY changed REQUIRED)
    /// The row where the search begins; -1 for none.
    Q_PROPERTY(int current MEMBER m_current NOTIFY changed REQUIRED)
public:
    explicit TypedSearch(QObject *parent = nullptr);

    /// True when the key belongs to the search. A blank goes on with one and begins none; what is
    /// typed with Control, Alt or Meta is no letter.
    Q_INVOKABLE bool press(const QString &text, int modifiers);

    /// Forgets what was typed.
    void forget() { m_typed.clear(); }

Q_SIGNALS:
    void changed();
    void found(int row);

private:
    [[nodiscard]] int next(const QString &wanted, int first) const;

    QPointer<QAbstractItemModel> m_model;
    QString m_role;
    int m_current = -1;
    QString m_typed;
    QTimer m_patience;
};

} // namespace vorn
