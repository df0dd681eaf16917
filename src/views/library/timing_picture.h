// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "views/library/export_check_view_model.h"

#include <QPointer>
#include <QQuickPaintedItem>

namespace vorn {

/// Draws how far each anchor of a clip lies from its line, over the length of the take, against how
/// far it may; what was heard, likewise; and below, where the clip lies on the timeline. Context:
/// UI thread.
class TimingPicture : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(
        vorn::ExportCheckViewModel *check READ check WRITE setCheck NOTIFY checkChanged REQUIRED)
    /// The row of the clip in the list of cameras.
    Q_PROPERTY(int row READ row WRITE setRow NOTIFY rowChanged REQUIRED)
public:
    explicit TimingPicture(QQuickItem *parent = nullptr);

    [[nodiscard]] ExportCheckViewModel *check() const { return m_check; }
    void setCheck(ExportCheckViewModel *check);
    [[nodiscard]] int row() const { return m_row; }
    void setRow(int row);

    void paint(QPainter *painter) override;

Q_SIGNALS:
    void checkChanged();
    void rowChanged();

private:
    void refresh();

    QPointer<ExportCheckViewModel> m_check;
    int m_row = -1;
    ClipCheck m_clip; ///< a copy, for whoever draws
    std::optional<ClipPlace> m_reference;
    double m_seconds = 0;
};

} // namespace vorn
