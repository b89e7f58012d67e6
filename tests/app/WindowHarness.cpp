#include "WindowHarness.h"

#include <QDir>
#include <QMenu>
#include <QMessageBox>
#include <QPainter>
#include <chrono>
#include <filesystem>
#include <thread>

#include "app/Application.h"
#include "platform/Environment.h"
#include "workflow/Language.h"
#include "workflow/RepairDriver.h"
#include "workflow/RepairSession.h"

namespace tolmi::test {

namespace fs = std::filesystem;

WindowHarness::WindowHarness() {
    fs::copy(fs::path(TOLMI_SOURCE_DIR) / "lg", fs::path(dir_.path()) / "lg");
    Environment::OverrideModuleDir(dir_.path());
    Environment::OverrideFreeSpace(uint64_t(1) << 40);
    loadLanguage(0x409);
    Session().reset();
    frame_ = std::make_unique<CMainFrame>();
    ui_ = std::make_unique<HeldUi>(*frame_);
    Session().ui = ui_.get();
    frame_->setFilePicker([this](QWidget*, FilePick, const QString&) { return picks_.isEmpty() ? QString() : picks_.takeFirst(); });
    frame_->show();
    QVERIFY(QTest::qWaitForWindowExposed(frame_.get()));
}

// A job at 99 % or more is no longer stopped by a cancel: it is never held there.
void WindowHarness::HeldUi::holdAtFigure(int figure) {
    while (figure >= holdAt && figure < 99 && !Session().stopRequested)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
}

void WindowHarness::HeldUi::setProgress(int percent) {
    QtWorkflowUi::setProgress(percent);
    holdAtFigure(percent);
}

void WindowHarness::HeldUi::onAviProgress() {
    QtWorkflowUi::onAviProgress();
    holdAtFigure(Session().aviPercent);
}

WindowHarness::~WindowHarness() {
    release();
    // A worker may still hand calls to the window: let them arrive first.
    waitForWorker();
    QCoreApplication::processEvents();
    Session().reset();
    frame_.reset();
    Environment::OverrideModuleDir(std::nullopt);
    Environment::OverrideFreeSpace(std::nullopt);
}

void WindowHarness::click(const char* objectName) {
    auto* widget = find(objectName);
    QVERIFY2(widget, objectName);
    QVERIFY2(widget->isVisible() && widget->isEnabled(), objectName);
    QTest::mouseClick(widget, Qt::LeftButton);
}

void Screenshot(QWidget& widget, const QString& name) {
    QDir().mkpath(TOLMI_SCREENSHOT_DIR);
    QVERIFY(widget.grab().save(QString(TOLMI_SCREENSHOT_DIR) + "/" + name + ".png"));
}

void ScreenshotOfScreen(QWidget& window, const QString& name) {
    QRect area = window.frameGeometry();
    QList<QWidget*> popups;
    for (QMenu* menu : window.findChildren<QMenu*>())
        if (menu->isVisible()) popups.append(menu);
    for (QWidget* popup : popups) area |= popup->geometry();
    QPixmap picture(area.size());
    picture.fill(Qt::darkGray);
    QPainter painter(&picture);
    painter.drawPixmap(window.geometry().topLeft() - area.topLeft(), window.grab());
    for (QWidget* popup : popups) painter.drawPixmap(popup->geometry().topLeft() - area.topLeft(), popup->grab());
    painter.end();
    QDir().mkpath(TOLMI_SCREENSHOT_DIR);
    QVERIFY(picture.save(QString(TOLMI_SCREENSHOT_DIR) + "/" + name + ".png"));
}

void WhenDialogOpens(std::function<void(QWidget* dialog)> answer) {
    auto* poll = new QTimer(qApp);
    QObject::connect(poll, &QTimer::timeout, poll, [poll, answer = std::move(answer)] {
        QWidget* dialog = QApplication::activeModalWidget();
        if (!dialog) return;
        poll->deleteLater();
        poll->stop();
        answer(dialog);
    });
    poll->start(20);
}

void ReadNextMessageBox(QString& title, QString& text) {
    WhenDialogOpens([&](QWidget* dialog) {
        auto* box = qobject_cast<QMessageBox*>(dialog);
        QVERIFY(box);
        title = box->windowTitle();
        text = box->text();
        box->accept();
    });
}

void UseOwnRuntimeDir() {
    static const TempDir runtime;
    qputenv("XDG_RUNTIME_DIR", QByteArray::fromStdString(runtime.path()));
}

int HangLimitMs(int seconds) {
#if defined(__SANITIZE_ADDRESS__)
    seconds *= 5;
#endif
    return seconds * 1000;
}

}  // namespace tolmi::test
