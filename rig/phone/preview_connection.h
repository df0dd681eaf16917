#pragma once

#include "rig/phone/preview_server.h"

namespace vorn::rig {

/// One connection to a preview server. Belongs to its socket.
class PreviewConnection : public QObject {
    Q_OBJECT
public:
    PreviewConnection(PreviewServer &server, QTcpSocket &socket);

private:
    void readRequest();
    void tick();
    void answerIdentity();
    void answerPicture();
    void sendFaulty(const SentPicture &picture, PreviewFault fault);
    void send(const QByteArray &bytes);
    void sendFrame(quint32 length, const SentPicture &picture);
    void drip();
    void endAfterAnswer();
    [[nodiscard]] bool isStream() const { return m_mode == 4 || m_mode == 5; }

    PreviewServer &m_server;
    QTcpSocket &m_socket;
    QTimer m_timer;
    int m_mode = 0; ///< 0: not asked yet
    int m_sentFrames = 0;
    QByteArray m_dripping;
};

} // namespace vorn::rig
