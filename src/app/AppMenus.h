#pragma once
// The two menus of the header: Menu (the languages, and Update when the
// settings name an update program) and Help (Help, Support, About). A
// language takes effect at once in every text the window shows.

#include <QObject>

class QMenu;

namespace tolmi {

class CMainFrame;

class AppMenus : public QObject {
    Q_OBJECT
public:
    explicit AppMenus(CMainFrame& frame);

    // The menu open under its button, or null.
    QMenu* openMenu() const { return open_; }

private:
    void showMainMenu(QWidget* button);
    void showHelpMenu(QWidget* button);
    void popUnder(QMenu* menu, QWidget* button);
    void chooseLanguage(int command);
    void startUpdate();
    void openPage(const char* address);
    // Fetches the fixed texts of the window again, from the language now in force.
    void showTextsAgain();

    CMainFrame& frame_;
    QMenu* open_ = nullptr;
};

}  // namespace tolmi
