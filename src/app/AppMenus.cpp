#include "app/AppMenus.h"

#include <QAbstractButton>
#include <QActionGroup>
#include <QDesktopServices>
#include <QMenu>
#include <QUrl>

#include "app/CAboutDlg.h"
#include "app/CButtonST.h"
#include "app/CHyperLink.h"
#include "app/CMainFrame.h"
#include "app/CXStatic.h"
#include "app/ProgramStart.h"
#include "app/ScreenModel.h"
#include "workflow/Language.h"

namespace tolmi {
namespace {

// The maker's pages of the Help and Support entries.
constexpr const char* kManualPage = "https://example.com/tolmi-video-repair/manual";
constexpr const char* kSupportPage = "https://example.com/tolmi-video-repair/support";
constexpr int kNoApplication = 31;

QString Text(const char* key) { return QString::fromStdString(LoadText(key)); }

// The fixed texts of the window's controls; the others follow the job's
// state and are fetched again by the window's refresh.
struct FixedText {
    const char* objectName;
    const char* key;
};
std::vector<FixedText> FixedTexts() {
    return {{CtlName(Ctl::Repair), "IDS_REPAIR"},       {CtlName(Ctl::Save), "IDS_SAVE"},
            {CtlName(Ctl::Cancel), "IDS_CANCEL"},       {CtlName(Ctl::Back), "IDS_BACK"},
            {CtlName(Ctl::PreviewButton), "IDS_PREVIEW"}, {CtlName(Ctl::Home), "IDS_HOME"},
            {CtlName(Ctl::Selected), "IDS_FILE_SELECTED"}, {CtlName(Ctl::AddHint), "IDS_CLICK_ADD"},
            {CtlName(Ctl::Unable), "IDS_UNABLE_TXT"},   {CtlName(Ctl::ReportLink), "IDS_CLICK_HERE"},
            {CtlName(Ctl::AddFile), "IDS_ADD_FILE"},    {CtlName(Ctl::ReferenceButton), "IDS_CHOOSE_REFERENCE_MOV_FILE"},
            {CtlName(Ctl::HelpLink), "IDS_WHY_HEALTHY"}, {CtlName(Ctl::StartTime), "IDS_START_TIME"},
            {CtlName(Ctl::Elapsed), "IDS_ELAPSED_TIME"}};
}

}  // namespace

AppMenus::AppMenus(CMainFrame& frame) : QObject(&frame), frame_(frame) {
    connect(&frame, &CMainFrame::menuRequested, this, &AppMenus::showMainMenu);
    connect(&frame, &CMainFrame::helpRequested, this, &AppMenus::showHelpMenu);
}

void AppMenus::popUnder(QMenu* menu, QWidget* button) {
    menu->setAttribute(Qt::WA_DeleteOnClose);
    open_ = menu;
    connect(menu, &QMenu::aboutToHide, this, [this, menu] {
        if (open_ == menu) open_ = nullptr;
    });
    menu->popup(button->mapToGlobal(QPoint(0, button->height())));
}

void AppMenus::showMainMenu(QWidget* button) {
    auto* menu = new QMenu(&frame_);
    menu->setObjectName("mainMenu");
    QMenu* languages = menu->addMenu("&Language");
    languages->setObjectName("languageMenu");
    auto* group = new QActionGroup(languages);
    for (const DeliveredLanguage& language : DeliveredLanguages()) {
        QAction* item = languages->addAction(QString::fromStdString(language.ownName));
        item->setCheckable(true);
        item->setChecked(language.fileName == Language().languageName);
        group->addAction(item);
        connect(item, &QAction::triggered, this, [this, id = language.command] { chooseLanguage(id); });
    }
    // Without an update program named in the settings there is no entry.
    if (!ReadSetting("UPD").empty()) connect(menu->addAction("Update"), &QAction::triggered, this, &AppMenus::startUpdate);
    popUnder(menu, button);
}

void AppMenus::showHelpMenu(QWidget* button) {
    auto* menu = new QMenu(&frame_);
    menu->setObjectName("helpMenu");
    connect(menu->addAction("&Help"), &QAction::triggered, this, [this] { openPage(kManualPage); });
    connect(menu->addAction("&Support"), &QAction::triggered, this, [this] { openPage(kSupportPage); });
    connect(menu->addAction("&About"), &QAction::triggered, this, [this] { CAboutDlg(&frame_).exec(); });
    popUnder(menu, button);
}

void AppMenus::chooseLanguage(int command) {
    onLanguageCommand(command);
    showTextsAgain();
}

void AppMenus::startUpdate() {
    const int result = StartProgram(QString::fromStdString(ReadSetting("UPD")), {});
    if (result != kStarted) TellStartFailure(&frame_, result);
}

void AppMenus::openPage(const char* address) {
    if (!QDesktopServices::openUrl(QUrl(address))) TellStartFailure(&frame_, kNoApplication);
}

void AppMenus::showTextsAgain() {
    for (const FixedText& fixed : FixedTexts()) {
        QWidget* widget = frame_.findChild<QWidget*>(fixed.objectName);
        if (auto* label = qobject_cast<CXStatic*>(widget)) label->setText(Text(fixed.key));
        else if (auto* button = qobject_cast<QAbstractButton*>(widget)) button->setText(Text(fixed.key));
    }
    if (auto* link = frame_.findChild<CHyperLink*>(CtlName(Ctl::HelpLink))) link->setTarget(Text("IDS_WHY_HEALTHY_URL"));
    if (auto* picture = frame_.findChild<CButtonST*>(CtlName(Ctl::PreviewPicture))) picture->setToolTip(Text("IDS_PREVIEW"));
    frame_.refresh();
}

}  // namespace tolmi
