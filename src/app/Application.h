#pragma once
// What the program sets up before its first window (names, icon, fonts)
// and what it sets beside it.

class QApplication;
class QLocalServer;

namespace tolmi {

class CMainFrame;

void PrepareApplication(QApplication& app);
// The window's companions: its menus, the preview through the player
// (whose messages arrive at server) and the problem report.
void AttachCompanions(CMainFrame& frame, QLocalServer* server);

}  // namespace tolmi
