#include "app/tmplayer/PlayerWindow.h"

#include <QAudioDevice>
#include <QAudioOutput>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QLocalSocket>
#include <QMediaDevices>
#include <QSlider>
#include <QStyle>
#include <QTime>
#include <QToolButton>
#include <QUrl>
#include <QVBoxLayout>
#include <QVideoWidget>

#include "app/tmplayer/PlayerProtocol.h"

namespace tolmi::player {
namespace {

constexpr int kConnectWaitMs = 300;

QString Clock(qint64 ms) { return QTime(0, 0).addMSecs(int(ms)).toString(ms >= 3600000 ? "h:mm:ss" : "m:ss"); }

}  // namespace

PlayerWindow::PlayerWindow(const QString& descriptor)
    : video_(new QVideoWidget(this)),
      info_(new QLabel(this)),
      playPause_(new QToolButton(this)),
      slider_(new QSlider(Qt::Horizontal, this)),
      time_(new QLabel(this)) {
    setWindowTitle("tmplayer");
    resize(800, 520);
    const Descriptor fields = ParseDescriptor(descriptor);
    const QString name = fields.name.isEmpty() ? QFileInfo(fields.path).fileName() : fields.name;
    info_->setText(fields.sizeText.isEmpty() ? name : name + "  ·  " + fields.sizeText);
    info_->setObjectName("fileInfo");
    playPause_->setObjectName("playPause");
    slider_->setObjectName("position");
    time_->setObjectName("time");
    video_->setMinimumSize(320, 180);

    auto* controls = new QHBoxLayout;
    controls->addWidget(playPause_);
    controls->addWidget(slider_, 1);
    controls->addWidget(time_);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(info_);
    layout->addWidget(video_, 1);
    layout->addLayout(controls);

    player_.setVideoOutput(video_);
    // Without a device to play to, an audio output can bring a backend down.
    if (!QMediaDevices::audioOutputs().isEmpty()) player_.setAudioOutput(new QAudioOutput(this));
    connect(playPause_, &QToolButton::clicked, this, [this] {
        if (player_.playbackState() == QMediaPlayer::PlayingState) player_.pause();
        else player_.play();
    });
    connect(&player_, &QMediaPlayer::playbackStateChanged, this, [this](QMediaPlayer::PlaybackState state) {
        const bool playing = state == QMediaPlayer::PlayingState;
        playPause_->setIcon(style()->standardIcon(playing ? QStyle::SP_MediaPause : QStyle::SP_MediaPlay));
        playPause_->setToolTip(playing ? "Pause" : "Play");
    });
    connect(&player_, &QMediaPlayer::durationChanged, this, [this](qint64 duration) {
        slider_->setRange(0, int(duration));
        showPosition(player_.position());
    });
    connect(&player_, &QMediaPlayer::positionChanged, this, &PlayerWindow::showPosition);
    connect(slider_, &QSlider::sliderMoved, &player_, [this](int position) { player_.setPosition(position); });
    connect(&player_, &QMediaPlayer::errorOccurred, this,
            [this](QMediaPlayer::Error, const QString& text) { info_->setText(info_->text() + "  ·  " + text); });
    playPause_->setIcon(style()->standardIcon(QStyle::SP_MediaPlay));
    connect(&server_, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket* socket = server_.nextPendingConnection()) {
            connect(socket, &QLocalSocket::readyRead, this, [this, socket] { readMessages(socket); });
            connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        }
    });
    play(fields.path);
}

QVideoSink* PlayerWindow::videoSink() const { return video_->videoSink(); }
QWidget* PlayerWindow::videoArea() const { return video_; }

void PlayerWindow::listen() {
    QLocalServer::removeServer(PlayerServerName());  // a player that ended without closing
    server_.listen(PlayerServerName());
    QLocalSocket window;
    if (SendMessage(window, WindowServerName(), QByteArray(1, kStartedTag), kConnectWaitMs))
        window.disconnectFromServer();
}

void PlayerWindow::play(const QString& path) {
    if (path.isEmpty() || player_.source() == QUrl::fromLocalFile(path)) return;
    player_.setSource(QUrl::fromLocalFile(path));
    player_.play();
}

void PlayerWindow::readMessages(QLocalSocket* socket) {
    QByteArray buffer = socket->property("buffer").toByteArray() + socket->readAll();
    while (const std::optional<Message> message = TakeMessage(buffer)) {
        if (message->tag == kStartTag) {
            if (const auto path = DecodeStartRecord(message->record)) play(*path);
        } else if (message->tag == kCloseTag) {
            // The socket's name is free before the answer: a new player may take it at once.
            server_.close();
            player_.stop();
            socket->write(QByteArray(1, kClosedTag));
            socket->waitForBytesWritten(kConnectWaitMs);
            close();
            return;
        }
    }
    socket->setProperty("buffer", buffer);
}

void PlayerWindow::showPosition(qint64 position) {
    if (!slider_->isSliderDown()) slider_->setValue(int(position));
    time_->setText(Clock(position) + " / " + Clock(player_.duration()));
}

}  // namespace tolmi::player
