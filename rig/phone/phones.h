// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rig/phone/phone.h"
#include "rig/phone/pictures.h"

#include <QString>
#include <QTimer>

#include <memory>
#include <optional>
#include <vector>

namespace vorn::rig {

struct PhonesOptions {
    int count = 4;
    QHostAddress address; ///< of the first phone; each other has the next one
    quint16 port = statusPort;
    quint16 previewPort = rig::previewPort;
    std::optional<Endpoint> desktop;
    TransferHabit transfer = TransferHabit::approve;
    std::int64_t seed = 1;
    PictureFormat wall{{640, 360}, 12};
    PictureFormat selected{{1280, 720}, 30};
    MediaOptions media;
};

/// All phones of the rig, and a storm of cameras that exist in status packets only.
class Phones : public QObject {
    Q_OBJECT
public:
    /// Opens all sockets. Throws what Phone throws.
    explicit Phones(const PhonesOptions &options);

    /// Does what one line says, such as "cam-a loss 0.3", "all sleep", "storm 200" or "state".
    /// Gives the answer, one line: "ok", "ok VALUE" or "error WORDS".
    [[nodiscard]] QString command(const QString &line);

    /// What command() understands.
    [[nodiscard]] static QString help();

Q_SIGNALS:
    void said(const QString &text);

private:
    QString turn(const QString &line);
    void turnPhones(const QString &target, const QString &name, const QString &value);
    void turnStorm(const QString &value);
    [[nodiscard]] QJsonObject turnFilm(const QString &value);
    void storm();
    [[nodiscard]] QJsonObject state() const;

    QString m_mediaFolder;
    PictureStore m_pictures;
    std::vector<std::unique_ptr<Phone>> m_phones;
    QTimer m_stormTimer;
    int m_stormCameras = 0;
    double m_stormPerSecond = 0;
    double m_stormBegan = 0;
    qint64 m_stormDue = 0; ///< packets of this storm so far
    qint64 m_stormSent = 0;
};

} // namespace vorn::rig
