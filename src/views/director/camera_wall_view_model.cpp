// SPDX-License-Identifier: Apache-2.0

#include "views/director/camera_wall_view_model.h"

#include "base/display_text.h"
#include "director/camera_status_text.h"
#include "director/director_session.h"
#include "live/live_camera_discovery.h"
#include "views/controls/key_table.h"

#include <QStringList>

#include <algorithm>
#include <ranges>

namespace vorn {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

// A place needs room for its badges.
constexpr double tallestPlace = 1.0 / 3;
constexpr double widestPlace = 3;

TileRow emptyPlace(int number)
{
    TileRow row;
    row.key = u"place %1"_s.arg(number);
    row.title = u"CAM %1"_s.arg(number);
    row.notice = u"Waiting"_s;
    row.isEmpty = true;
    return row;
}

QString badgeOf(const TileRow &row)
{
    if (row.isProgram)
        return u"PGM"_s;
    return row.isPreview ? u"PVW"_s : QString();
}

QString spokenText(const TileRow &row)
{
    QStringList parts{badgeOf(row),    row.recording ? u"REC"_s : QString(),
                      row.levelText,   row.batteryText,
                      row.qualityText, u"key %1"_s.arg(row.shortcut)};
    parts.removeAll(QString());
    return parts.join(u", "_s);
}

TileRow tileOf(int place, const LiveCamera &camera, const DirectorSession &session)
{
    TileRow row;
    row.shortcut = KeyTable::sequence(KeyTable::Key(KeyTable::Place1 + place));
    row.key = u"camera "_s + camera.id;
    row.cameraID = camera.id;
    row.title = displayText(camera.name);
    row.online = camera.isOnline(session.now());
    row.recording = camera.displaysRecording(session.now());
    row.isPreview = session.timeline().previewCameraID == camera.id;
    row.isProgram = session.timeline().programCameraID == camera.id;
    row.levelDB = row.online ? camera.leftDB : silenceDB;
    if (!row.online) {
        row.notice = u"Offline"_s;
        row.levelText = u"OFFLINE"_s;
        row.qualityText = u"\u2014"_s;
        row.spoken = spokenText(row);
        return row;
    }
    const auto &errors = session.previews().errors();
    const auto error = errors.find(camera.id);
    row.notice = error == errors.end() ? u"Connecting\u2026"_s : error->second;
    row.levelText = fixedText(std::max(camera.leftDB, camera.rightDB), 0) + u" dB"_s;
    if (camera.battery)
        row.batteryText = u"%1%"_s.arg(*camera.battery);
    row.qualityText = displayText(camera.quality);
    row.spoken = spokenText(row);
    return row;
}

} // namespace

CameraWallViewModel::CameraWallViewModel(DirectorSession &session, LiveCameraDiscovery &discovery)
    : m_session(session),
      m_discovery(discovery),
      m_rows({{"cameraID", &TileRow::cameraID},
              {"title", &TileRow::title},
              {"shortcut", &TileRow::shortcut},
              {"notice", &TileRow::notice},
              {"levelText", &TileRow::levelText},
              {"levelDB", &TileRow::levelDB},
              {"batteryText", &TileRow::batteryText},
              {"qualityText", &TileRow::qualityText},
              {"spoken", &TileRow::spoken},
              {"isEmpty", &TileRow::isEmpty},
              {"isPreview", &TileRow::isPreview},
              {"isProgram", &TileRow::isProgram},
              {"recording", &TileRow::recording},
              {"online", &TileRow::online}})
{
    connect(&session, &DirectorSession::camerasChanged, this, &CameraWallViewModel::refresh);
    connect(&session, &DirectorSession::timelineChanged, this, &CameraWallViewModel::refresh);
    connect(&session.previews(), &LivePreviewStore::errorChanged, this,
            &CameraWallViewModel::refresh);
    connect(&session.previews(), &LivePreviewStore::frameChanged, this,
            &CameraWallViewModel::followPictures);
    connect(&discovery, &LiveCameraDiscovery::isActiveScanningChanged, this,
            &CameraWallViewModel::changed);
    m_standing.setSingleShot(true);
    m_standing.setInterval(1s);
    connect(&m_standing, &QTimer::timeout, this, [this] {
        m_ratios = m_nextRatios;
        Q_EMIT changed();
    });
    refresh();
}

QString CameraWallViewModel::subtitle() const
{
    if (m_discovery.isActiveScanning())
        return u"Scanning local network\u2026"_s;
    if (m_cameraCount > places)
        return u"Showing %1 of %2 \u2022 click a camera for Preview"_s.arg(places).arg(
            m_cameraCount);
    return u"Up to four cameras \u2022 click a camera for Preview"_s;
}

void CameraWallViewModel::select(const QString &cameraID)
{
    if (!cameraID.isEmpty())
        m_session.selectPreview(cameraID);
}

void CameraWallViewModel::selectPlace(int place)
{
    select(m_rows.rows()[std::size_t(place)].cameraID);
}

void CameraWallViewModel::refresh()
{
    const std::vector<const LiveCamera *> cameras = m_session.cameraWallCameras();
    std::vector<TileRow> rows;
    rows.reserve(places);
    for (int place = 0; place < places; ++place)
        rows.push_back(std::size_t(place) < cameras.size()
                           ? tileOf(place, *cameras[std::size_t(place)], m_session)
                           : emptyPlace(place + 1));
    m_cameraCount = int(cameras.size());
    m_rows.setRows(std::move(rows));
    followPictures();
    Q_EMIT changed();
}

void CameraWallViewModel::followPictures()
{
    std::map<QString, double> ratios;
    for (const TileRow &row : m_rows.rows()) {
        const auto last = m_lastRatios.find(row.cameraID);
        if (const PreviewFrame *frame =
                m_session.previews().frame(row.cameraID, VORNPreviewProfile::wall)) {
            QSizeF size = frame->size;
            if (m_session.frameRotation(row.cameraID, frame->size) % 180 == 90)
                size.transpose();
            ratios[row.cameraID] =
                std::clamp(size.width() / size.height(), tallestPlace, widestPlace);
        } else if (last != m_lastRatios.end()) {
            ratios.insert(*last);
        }
    }
    m_lastRatios = std::move(ratios);
    if (m_lastRatios.empty())
        return;
    const auto [tallest, widest] = std::ranges::minmax(m_lastRatios | std::views::values);
    const PictureRatios now{tallest, widest};
    if (now == m_ratios) {
        m_standing.stop();
    } else if (now != m_nextRatios || !m_standing.isActive()) {
        m_nextRatios = now;
        m_standing.start();
    }
}

} // namespace vorn
