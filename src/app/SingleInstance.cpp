#include "app/SingleInstance.h"

#include <QLocalServer>
#include <QMessageBox>

#include "app/tmplayer/PlayerProtocol.h"

namespace tolmi {

SingleInstance::SingleInstance() : lock_(player::UserRuntimePath("GlobalMutexTMQDT.lock")) { lock_.setStaleLockTime(0); }

SingleInstance::~SingleInstance() = default;

bool SingleInstance::claim(QWidget* messageParent) {
    if (!lock_.tryLock(0)) {
        // A lock file that cannot be made for another reason lets the program run.
        if (lock_.error() != QLockFile::LockFailedError) return true;
        QMessageBox::information(messageParent, QString(), kAlreadyRunning);
        return false;
    }
    server_ = std::make_unique<QLocalServer>();
    QLocalServer::removeServer(player::WindowServerName());  // left by a process that crashed
    server_->listen(player::WindowServerName());
    return true;
}

}  // namespace tolmi
