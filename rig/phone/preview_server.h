// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rig/phone/phone_link.h"
#include "rig/phone/pictures.h"

#include <QByteArray>
#include <QJsonObject>
#include <QObject>
#include <QStringView>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include <functional>
#include <map>
#include <optional>

namespace vorn::rig {

/// What is wrong with a preview server; previewFaultHelp() tells what each does. All but refuse and
/// silent spare the identity request.
enum class PreviewFault {
    none,
    refuse,
    silent,
    legacyOnly,
    drop,
    truncate,
    huge,
    largest,
    slow,
    wrongLength,
    zero,
    claim,
    garbage,
    bomb,
};

/// The four bytes in front of an answer.
[[nodiscard]] QByteArray lengthPrefix(quint32 length);

/// The fault of that name, such as "wrong-length"; absent when there is none.
[[nodiscard]] std::optional<PreviewFault> previewFaultFromText(QStringView text);
/// Names and explanations, for the help.
[[nodiscard]] QStringList previewFaultHelp();

/// A phone's preview server: one byte in asks for a picture (1 wall, 2 selected), for who the phone
/// is (3), or for a stream (4 wall, 5 selected). Each answer is a length of four bytes, most
/// significant first, and that many bytes.
class PreviewServer : public QObject {
    Q_OBJECT
public:
    /// `identity` gives the whole answer to mode 3.
    PreviewServer(PictureStore &pictures, int castIndex, std::function<QByteArray()> identity,
                  QObject *parent = nullptr);

    /// Opens the port, also in place of an open one, and ends all connections. Port 0 lets the
    /// system choose. Throws RigError.
    void open(const Endpoint &own);
    [[nodiscard]] quint16 port() const { return m_own.port; }

    /// Closes the port and ends all connections, until resume().
    void stop();
    void resume();

    /// `after` pictures of each connection are good.
    void setFault(PreviewFault fault, int after);
    /// Ends all connections at once.
    void cutConnections();

    [[nodiscard]] int connections() const
    {
        return int(m_server.findChildren<QTcpSocket *>().size());
    }
    [[nodiscard]] QJsonObject counts() const;
    /// Of all streams and requests of the wall, or of the selected picture.
    [[nodiscard]] int framesOfWall() const { return m_frames.at(1) + m_frames.at(4); }
    [[nodiscard]] int framesOfSelected() const { return m_frames.at(2) + m_frames.at(5); }
    [[nodiscard]] int skippedFrames() const { return m_skipped; }

    PreviewHold hold = PreviewHold::landscape;
    PictureFormat wall{{640, 360}, 12};
    PictureFormat selected{{1280, 720}, 30};
    bool isAsleep = false;

private:
    friend class PreviewConnection;

    void listen();
    void accept();

    PictureStore &m_pictures;
    int m_castIndex;
    std::function<QByteArray()> m_identity;
    QTcpServer m_server;
    Endpoint m_own;
    bool m_isStopped = false;
    PreviewFault m_fault = PreviewFault::none;
    int m_goodPictures = 0;
    int m_accepted = 0;
    int m_skipped = 0; ///< the peer did not read
    qint64 m_bytes = 0;
    std::map<int, int> m_requests; ///< by mode byte
    std::map<int, int> m_frames{{1, 0}, {2, 0}, {4, 0}, {5, 0}};
};

} // namespace vorn::rig
