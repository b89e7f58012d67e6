#pragma once
// tmplayer: a small player for the repaired file before it is saved. It
// shows the file's name and size from the descriptor on its command line,
// plays it with play/pause and a position slider, and answers the window
// on its local socket: a start record names the file to play, a close
// request closes it (after it has let go of its socket).

#include <QLocalServer>
#include <QMediaPlayer>
#include <QWidget>

class QLabel;
class QLocalSocket;
class QSlider;
class QToolButton;
class QVideoSink;
class QVideoWidget;

namespace tolmi::player {

class PlayerWindow : public QWidget {
    Q_OBJECT
public:
    explicit PlayerWindow(const QString& descriptor);

    // Takes the player's socket name and tells the window that it started.
    void listen();
    QMediaPlayer& mediaPlayer() { return player_; }
    QVideoSink* videoSink() const;
    QWidget* videoArea() const;

private:
    void play(const QString& path);
    void readMessages(QLocalSocket* socket);
    void showPosition(qint64 position);

    QMediaPlayer player_;
    QVideoWidget* video_;
    QLabel* info_;
    QToolButton* playPause_;
    QSlider* slider_;
    QLabel* time_;
    QLocalServer server_;
};

}  // namespace tolmi::player
