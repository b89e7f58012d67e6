#include "app/PreviewControl.h"

#include <QDeadlineTimer>
#include <QWidget>
#include <QLocalServer>
#include <QLocalSocket>
#include <QTimer>
#include <QTimerEvent>

#include "app/ProgramStart.h"
#include "app/tmplayer/PlayerProtocol.h"
#include "platform/Environment.h"
#include "platform/File.h"
#include "workflow/RepairSession.h"

namespace tolmi {
namespace {

constexpr int kRecordDelayMs = 1000, kStartedGraceMs = 5000, kCloseWaitMs = 2000, kConnectWaitMs = 300;

QString PlayerPath() { return QString::fromStdString(JoinPath(Environment::CompanionDir(), "tmplayer")); }

}  // namespace

PreviewControl::PreviewControl(QWidget* window, QLocalServer* server) : QObject(window), window_(window) {
    if (!server) return;
    connect(server, &QLocalServer::newConnection, this, [this, server] {
        while (QLocalSocket* socket = server->nextPendingConnection()) {
            connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
                socket->readAll();  // no field of the message is read
                onPlayerMessage();
            });
            connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        }
    });
}

void PreviewControl::startPreview() {
    RepairSession& s = Session();
    if (s.saving) return;
    s.previewRunning = 1;
    const QString player = PlayerPath();
    closePlayer();
    if (!s.isMovJob) s.tempOutputPath = s.aviOutputPath;
    const std::string temporary = Environment::TemporaryDir();
    if (!IsDirectory(temporary)) CreateDirectoryPath(temporary);

    const int result = StartProgram(player, {QString::fromStdString(s.previewDescriptor)});
    if (result != kStarted) {
        TellStartFailure(window_, result);
        return;
    }
    QTimer::singleShot(kRecordDelayMs, this, &PreviewControl::sendStartRecord);
}

// A player that is not listening yet gets no record; its command line has the file.
void PreviewControl::sendStartRecord() {
    QLocalSocket socket;
    const QByteArray message =
        QByteArray(1, player::kStartTag) + player::EncodeStartRecord(QString::fromStdString(Session().tempOutputPath));
    if (player::SendMessage(socket, player::PlayerServerName(), message, kConnectWaitMs)) socket.disconnectFromServer();
}

void PreviewControl::closePlayer() {
    QLocalSocket socket;
    if (!player::SendMessage(socket, player::PlayerServerName(), QByteArray(1, player::kCloseTag), kConnectWaitMs))
        return;
    // The player answers once it has let go of its socket; one that does
    // not answer is left behind, the window does not wait for ever.
    const QDeadlineTimer deadline(kCloseWaitMs);
    QByteArray answer;
    while (!answer.contains(player::kClosedTag) && socket.waitForReadyRead(int(deadline.remainingTime())))
        answer += socket.readAll();
    socket.abort();
}

void PreviewControl::endPreview() {
    RepairSession& s = Session();
    if (s.previewRunning) closePlayer();
    s.previewRunning = 0;
}

void PreviewControl::onPlayerMessage() {
    if (!Session().previewRunning) return;
    if (startedTimer_) killTimer(startedTimer_);
    startedTimer_ = startTimer(kStartedGraceMs);
}

void PreviewControl::timerEvent(QTimerEvent* event) {
    if (event->timerId() != startedTimer_) return;
    Session().previewRunning = 0;
    killTimer(startedTimer_);
    startedTimer_ = 0;
}

}  // namespace tolmi
