// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "views/library/export_check_view_model.h"
#include "views/library/movie_import_view_model.h"

#include <QPointer>
#include <QQuickPaintedItem>

namespace vorn {

/// Draws how far each anchor of a clip lies from its line, over the length of the take, against how
/// far it may; what was heard, likewise; and below, where the clip lies on the timeline. Context:
/// UI thread.
class TimingPicture : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    /// What is drawn is a clip of the one or a movie of the other.
    Q_PROPERTY(vorn::ExportCheckViewModel *check READ check WRITE setCheck NOTIFY checkChanged)
    Q_PROPERTY(vorn::MovieImportViewModel *movies READ movies WRITE setMovies NOTIFY moviesChanged)
    /// Its row in the list there.
    Q_PROPERTY(int row READ row WRITE setRow NOTIFY rowChanged REQUIRED)
public:
    explicit TimingPicture(QQuickItem *parent = nullptr);

    [[nodiscard]] ExportCheckViewModel *check() const { return m_check; }
    void setCheck(ExportCheckViewModel *check);
    [[nodiscard]] MovieImportViewModel *movies() const { return m_movies; }
    void setMovies(MovieImportViewModel *movies);
    [[nodiscard]] int row() const { return m_row; }
    void setRow(int row);

    void paint(QPainter *painter) override;

Q_SIGNALS:
    void checkChanged();
    void moviesChanged();
    void rowChanged();

private:
    void refresh();

    QPointer<ExportCheckViewModel> m_check;
    QPointer<MovieImportViewModel> m_movies;
    int m_row = -1;
    ClipCheck m_clip; ///< a copy, for whoever draws
    std::optional<ClipPlace> m_reference;
    double m_seconds = 0;
};

} // namespace vorn
