#pragma once
// The preview: starts the player program beside the window with the
// result's descriptor, hands it the start record once its socket answers,
// and closes it again when the user moves on. The player's "started"
// message ends the preview's claim on it five seconds later.

#include <QObject>
#include <QString>

class QLocalServer;
class QWidget;

namespace tolmi {

class PreviewControl : public QObject {
    Q_OBJECT
public:
    // server is the window's own socket, where the player says it started.
    PreviewControl(QWidget* window, QLocalServer* server);

    void startPreview();
    // Closes a running preview's player and ends the preview.
    void endPreview();
    // Asks the player to close and waits for its answer a bounded time.
    static void closePlayer();

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    void onPlayerMessage();
    void sendStartRecord();

    QWidget* window_;
    int startedTimer_ = 0;
};

}  // namespace tolmi
