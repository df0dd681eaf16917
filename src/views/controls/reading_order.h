// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QPointer>
#include <QQuickItem>

namespace vorn {

/// Assistive tools meet the children of an item in the order of their list. A list view makes its
/// rows in any order; this keeps them in the one in which they stand, top to bottom. Context: UI
/// thread.
class ReadingOrder : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT
    /// Whose children.
    Q_PROPERTY(QQuickItem *of READ of WRITE setOf NOTIFY ofChanged REQUIRED)
public:
    explicit ReadingOrder(QQuickItem *parent = nullptr);

    [[nodiscard]] QQuickItem *of() const { return m_of; }
    void setOf(QQuickItem *item);

Q_SIGNALS:
    void ofChanged();

protected:
    void updatePolish() override;

private:
    void follow();

    QPointer<QQuickItem> m_of;
};

} // namespace vorn
