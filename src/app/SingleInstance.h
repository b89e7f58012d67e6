#pragma once
// One window program a user at a time: the first start holds a lock file
// in the user's runtime folder; a later start tells the user and ends with
// code 0. The first also listens on a local socket of the same name, where
// the player says that it has started.

#include <QLockFile>
#include <QString>
#include <memory>

class QLocalServer;
class QWidget;

namespace tolmi {

inline constexpr const char* kAlreadyRunning = "Tolmi Video Repair is already running in another instance";

class SingleInstance {
public:
    SingleInstance();
    ~SingleInstance();

    // True for the first instance. A later one has shown the message
    // (under an empty title: no language is known yet) and must end with 0.
    bool claim(QWidget* messageParent = nullptr);
    QLocalServer* server() const { return server_.get(); }

private:
    QLockFile lock_;
    std::unique_ptr<QLocalServer> server_;
};

}  // namespace tolmi
