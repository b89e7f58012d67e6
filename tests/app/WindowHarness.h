#pragma once
// The real window for tests, offscreen: a module folder of the test's own
// (with the delivered language files, so "$tmp" is its own too), the window
// and its WorkflowUi adapter set in the session, files picked by a script,
// and screenshots into the build folder.

#include <QApplication>
#include <QString>
#include <QtTest>
#include <atomic>
#include <functional>
#include <memory>

#include "TestSupport.h"
#include "app/CMainFrame.h"
#include "app/QtWorkflowUi.h"

namespace tolmi::test {

class WindowHarness {
public:
    WindowHarness();
    ~WindowHarness();

    CMainFrame& frame() { return *frame_; }
    const TempDir& dir() const { return dir_; }
    // The next file dialogs answer with these paths, in order ("" dismisses).
    void pickNext(const QString& path) { picks_.append(path); }
    // The worker stops in its progress call, as on a slow disk, once the
    // job reaches that percent, until release(); the screen stays free.
    void holdWorkerAt(int percent) { ui_->holdAt = percent; }
    void release() { ui_->holdAt = 101; }
    // Clicks the visible, enabled control of that object name.
    void click(const char* objectName);
    template <typename T = QWidget>
    T* find(const char* objectName) const {
        return frame_->findChild<T*>(objectName);
    }

private:
    TempDir dir_;
    std::unique_ptr<CMainFrame> frame_;
    // The window's WorkflowUi with a worker that can be held at a percent.
    struct HeldUi : QtWorkflowUi {
        using QtWorkflowUi::QtWorkflowUi;
        void setProgress(int percent) override;
        void onAviProgress() override;
        void holdAtFigure(int figure);
        std::atomic<int> holdAt{101};
    };
    std::unique_ptr<HeldUi> ui_;
    QStringList picks_;
};

// Writes widget's picture to the build folder's screenshots, as name.png.
void Screenshot(QWidget& widget, const QString& name);
// The window with the pop-up menus open over it, as the user sees them.
void ScreenshotOfScreen(QWidget& window, const QString& name);
// Runs answer on the next modal dialog once it is open, inside its own
// event loop (the test's code stands still while the dialog runs).
void WhenDialogOpens(std::function<void(QWidget* dialog)> answer);
// Reads the next message box's title and text, then closes it.
void ReadNextMessageBox(QString& title, QString& text);
// Lock files and sockets of the user's runtime folder go to a folder of
// this test process, away from a window the user may have open.
void UseOwnRuntimeDir();
// A limit that only stops a hang, longer in the sanitizer build.
int HangLimitMs(int seconds);

}  // namespace tolmi::test

// A QTest main that runs offscreen unless the environment chose otherwise.
#define TOLMI_WINDOW_TEST_MAIN(TestClass)                                                 \
    int main(int argc, char** argv) {                                                     \
        if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen"); \
        QApplication app(argc, argv);                                                     \
        tolmi::PrepareApplication(app);                                                   \
        TestClass test;                                                                   \
        return QTest::qExec(&test, argc, argv);                                           \
    }
