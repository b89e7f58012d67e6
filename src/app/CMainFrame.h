#pragma once
// The one top-level window: no system caption, its own blue header band
// with the logo and the picture buttons, and under it the top, middle and
// bottom sections. It turns the job's state into what the sections show,
// carries the commands of the sections to the core, and owns the way back
// to the idle page and the close protocol.

#include <QWidget>
#include <functional>

#include "app/Artwork.h"
#include "app/FilePicker.h"
#include "app/ScreenModel.h"
#include "workflow/SaveFlow.h"
#include "workflow/WorkflowUi.h"

namespace tolmi {

class CButtonST;
class CSavePage;
class CXBottomSection;
class CXContainer;
class CXTopSection;

class CMainFrame : public QWidget {
    Q_OBJECT
public:
    CMainFrame();

    void setFilePicker(FilePicker picker) { picker_ = std::move(picker); }
    // What opens the folder of a saved file, and what ends the program;
    // tests put their own in place.
    void setFolderOpener(std::function<void(const QString& folder)> opener) { openFolder_ = std::move(opener); }
    void setExit(std::function<void(int code)> exit) { exit_ = std::move(exit); }
    // Home, Close and Save end a running preview through this.
    void setPreviewEnd(std::function<void()> endPreview) { endPreview_ = std::move(endPreview); }

    // Shows what the job's state asks for, in all three sections.
    void refresh();

    // The window's side of the WorkflowUi operations, on the GUI thread.
    void showRepairPage(const std::string& statusTextKey);
    void showStatus(const QString& text);
    void showMessage(int kind, const std::string& textKey, const std::string& titleKey);
    void askForReference();
    void startElapsedTimer();
    void goHome();
    void showResult();
    void setProgress(int percent);
    void onAviProgress();

    // Close: asks when no job runs, else tells that one runs.
    void requestClose();
    // The Save command: the save dialog, then the save page and its thread.
    void onSave();
    void toggleMaximized();

    CXTopSection* top() const { return top_; }
    CXContainer* container() const { return container_; }
    CXBottomSection* bottom() const { return bottom_; }

signals:
    // Commands whose protocols live elsewhere: the menus, the save, the
    // preview and the problem report.
    void menuRequested(QWidget* button);
    void helpRequested(QWidget* button);
    void previewRequested();
    void reportRequested();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    CButtonST* headerButton(const char* name, Art art, const QString& toolTip);
    void connectCommands();
    void pickCorrupted();
    void pickReference();
    void showClock();
    void onSaveEnded(SaveOutcome outcome);
    void endPreview();
    Qt::Edges edgesAt(QPoint point) const;

    CXTopSection* top_;
    CXContainer* container_;
    CXBottomSection* bottom_;
    CButtonST *close_, *maximize_, *minimize_, *menu_, *help_, *home_, *logo_;
    ControlMap controls_;
    FilePicker picker_ = PickWithFileDialog;
    std::function<void(const QString&)> openFolder_;
    std::function<void(int)> exit_;
    CSavePage* savePage_ = nullptr;
    std::function<void()> endPreview_;
    bool maximized_ = false;
};

}  // namespace tolmi
