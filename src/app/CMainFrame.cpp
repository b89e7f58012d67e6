#include "app/CMainFrame.h"

#include <QCloseEvent>
#include <QDesktopServices>
#include <QFileInfo>
#include <QGuiApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>
#include <QTimer>
#include <QUrl>
#include <QWindow>

#include "app/CButtonST.h"
#include "app/CHyperLink.h"
#include "app/CMessageDlg.h"
#include "app/CSavePage.h"
#include "app/CXBottomSection.h"
#include "app/CXCmdBtn.h"
#include "app/CXContainer.h"
#include "app/CXProgressBar.h"
#include "app/CXStatic.h"
#include "app/CXTopSection.h"
#include "app/Look.h"
#include "workflow/JobClock.h"
#include "workflow/JobControl.h"
#include "workflow/Language.h"
#include "workflow/RepairDriver.h"
#include "workflow/RepairSession.h"

namespace tolmi {
namespace {

using look::Ltrb;

constexpr QSize kNormalSize{1025, 585};
constexpr int kHeaderHeight = 70, kEdgeGrip = 6;
constexpr int kWorkerEndingPollMs = 20, kIdleAfterSaveMs = 1000;

QString Text(const std::string& key) { return QString::fromStdString(LoadText(key)); }

}  // namespace

CMainFrame::CMainFrame()
    : QWidget(nullptr, Qt::Window | Qt::FramelessWindowHint),
      top_(new CXTopSection(this)),
      container_(new CXContainer(this)),
      bottom_(new CXBottomSection(this)),
      close_(headerButton("closeButton", Art::Close, "Close")),
      maximize_(headerButton("maximizeButton", Art::Maximize, "Maximize")),
      minimize_(headerButton("minimizeButton", Art::Minimize, "Minimize")),
      menu_(headerButton("menuButton", Art::Menu, "Menu")),
      help_(headerButton("helpButton", Art::Help, "Help")),
      home_(headerButton("homeHeaderButton", Art::Home, "Home")),
      logo_(new CButtonST(this, DrawArt(Art::Logo, false, devicePixelRatioF()),
                          DrawArt(Art::Logo, false, devicePixelRatioF()), QString())),
      openFolder_([](const QString& folder) { QDesktopServices::openUrl(QUrl::fromLocalFile(folder)); }),
      exit_([](int code) { QCoreApplication::exit(code); }) {
    setWindowTitle("Tolmi Video Repair Software");
    setObjectName("mainFrame");
    setMouseTracking(true);
    logo_->setObjectName("logo");
    resize(kNormalSize);
    container_->addControls(controls_);
    bottom_->addControls(controls_);
    connectCommands();
    refresh();
}

CButtonST* CMainFrame::headerButton(const char* name, Art art, const QString& toolTip) {
    auto* button = new CButtonST(this, DrawArt(art, false, devicePixelRatioF()), DrawArt(art, true, devicePixelRatioF()),
                                 toolTip);
    button->setObjectName(name);
    return button;
}

void CMainFrame::connectCommands() {
    auto on = [this](QAbstractButton* button, auto action) { connect(button, &QAbstractButton::clicked, this, action); };
    on(close_, [this] { requestClose(); });
    on(maximize_, [this] { toggleMaximized(); });
    on(minimize_, [this] { showMinimized(); });
    on(menu_, [this] { emit menuRequested(menu_); });
    on(help_, [this] { emit helpRequested(help_); });
    on(home_, [this] { goHome(); });
    on(logo_, [this] { goHome(); });

    on(container_->addFile, [this] { pickCorrupted(); });
    on(container_->referenceButton, [this] { pickReference(); });
    on(container_->previewPicture, [this] { emit previewRequested(); });

    CXBottomSection* b = bottom_;
    on(b->repair, [this] {
        startRepair();
        refresh();
    });
    on(b->pause, [this] {
        togglePause();
        refresh();
    });
    on(b->cancel, [this] {
        cancelJob();
        refresh();
    });
    on(b->back, [this] {
        bottom_->repair->setEnabled(true);
        goHome();
    });
    on(b->home, [this] {
        bottom_->stopClock();
        goHome();
    });
    on(b->save, [this] {
        endPreview();
        onSave();
    });
    on(b->preview, [this] { emit previewRequested(); });
    connect(b->reportLink, &CHyperLink::activated, this, &CMainFrame::reportRequested);
    connect(b, &CXBottomSection::clockTicked, this, &CMainFrame::showClock);
}

void CMainFrame::refresh() {
    const RepairSession& s = Session();
    const Screen screen = ScreenFor(s);
    top_->setTitle(Text(screen.titleKey));
    for (const auto& [control, widgets] : controls_) {
        for (QWidget* widget : widgets) {
            widget->setVisible(screen.isShown(control));
            widget->setEnabled(screen.isEnabled(control));
        }
    }
    bottom_->pause->setText(Text(screen.pauseKey));
    bottom_->placeCancel(screen.cancelInRepairPlace);
    bottom_->corruptedLabel->setText(screen.fileLabelText);
    bottom_->aviPathLabel->setText(screen.fileLabelText);
    bottom_->referenceLabel->setText(screen.referenceText);
    bottom_->referenceLabel->setTextColor(screen.referencePrompt ? look::kPromptRed : look::kText);
    if (!screen.statusOverride.isEmpty()) container_->setStatus(screen.statusOverride);
    container_->setPicture(screen.picture);
}

void CMainFrame::pickCorrupted() {
    Session().corruptedPath.clear();
    const QString path = picker_(this, FilePick::Corrupted, {});
    if (path.isEmpty()) {
        goHome();
        return;
    }
    pickCorruptedFile(path.toStdString());
    refresh();
}

// A dismissed dialog takes a chosen reference back.
void CMainFrame::pickReference() {
    pickReferenceFile(picker_(this, FilePick::Reference, {}).toStdString());
    refresh();
}

void CMainFrame::showRepairPage(const std::string& statusTextKey) {
    container_->resetProgress(Text(statusTextKey));
    refresh();
}

void CMainFrame::showStatus(const QString& text) { container_->setStatus(text); }

void CMainFrame::showMessage(int kind, const std::string& textKey, const std::string& titleKey) {
    Session().messageKind = kind;
    CMessageDlg dialog(Text(textKey), Text(titleKey), kind, this);
    connect(&dialog, &CMessageDlg::reportRequested, this, &CMainFrame::reportRequested);
    dialog.exec();
    refresh();
}

void CMainFrame::askForReference() { refresh(); }

void CMainFrame::startElapsedTimer() {
    startJobClock();
    bottom_->startClock();
}

void CMainFrame::showClock() {
    const RepairSession& s = Session();
    if (onTimerTick(kJobTimerId))
        container_->setTimes(QString::fromStdString(s.startText), QString::fromStdString(s.elapsedText));
}

void CMainFrame::goHome() {
    if (!Session().saving) endPreview();
    switch (requestHome()) {
        case HomeAnswer::SaveRuns: return;
        case HomeAnswer::WorkerEnding:
            // The worker's last steps still use the job's files: come back when it has returned.
            QTimer::singleShot(kWorkerEndingPollMs, this, &CMainFrame::goHome);
            return;
        case HomeAnswer::JobRuns:
        case HomeAnswer::Idle: refresh();
    }
}

void CMainFrame::showResult() {
    finishJob();
    bottom_->startClock();
    container_->fillProperties();
    refresh();
}

// The AVI engine only sets its bar back with this; its percent label
// follows onAviProgress.
void CMainFrame::setProgress(int percent) {
    container_->bar->SetPos(percent);
    if (Session().isMovJob) container_->setPercentText(QString::number(percent) + '%');
}

void CMainFrame::onAviProgress() {
    RepairSession& s = Session();
    CXProgressBar* bar = container_->bar;
    if (s.progressResetPending.exchange(0)) {
        bar->ResetAnimation();
        return;
    }
    if (s.jobLive != 1) {
        s.aviPercent = 100;
        bar->SetPos(100);
        return;
    }
    const int percent = s.aviPercent;
    if (percent == s.shownAviPercent) return;
    s.shownAviPercent = percent;
    if (percent > 100) return;
    // At the end the bar is drawn anew from its left edge.
    if (percent == 100) bar->ResetAnimation();
    bar->SetPos(percent);
    s.percentText = std::to_string(percent) + "%";
    container_->setPercentText(QString::fromStdString(s.percentText));
}

void CMainFrame::requestClose() {
    if (!confirmClose()) {
        refresh();
        return;
    }
    endPreview();
    // A worker that has not yet returned still holds the job's files.
    waitForWorker();
    returnToIdle();
    exit_(0);
}

void CMainFrame::onSave() {
    RepairSession& s = Session();
    const bool movJob = s.isMovJob == 1;
    const QString proposed = QString::fromStdString(ProposedSaveName(s.Now(), movJob));
    const QString target = picker_(this, movJob ? FilePick::SaveMov : FilePick::SaveAvi, proposed);
    // The dialog has asked before it answers with an existing file.
    if (target.isEmpty() || prepareSave(target.toStdString(), true)) {
        refresh();
        return;
    }
    container_->resetProgress(Text("IDS_PLEASE_WAIT_SAVING"));
    refresh();
    savePage_ = new CSavePage(this);
    connect(savePage_, &CSavePage::percentChanged, this, [this](int percent) {
        container_->bar->SetPos(percent);
        container_->setPercentText(QString::number(percent) + '%');
    });
    connect(savePage_, &CSavePage::ended, this, &CMainFrame::onSaveEnded);
}

// A saved file's folder is opened, and the idle page follows a second
// later; a save that did not end so leaves the result to be saved again.
void CMainFrame::onSaveEnded(SaveOutcome outcome) {
    savePage_->deleteLater();
    savePage_ = nullptr;
    if (outcome != SaveOutcome::Saved) {
        refresh();
        return;
    }
    openFolder_(QFileInfo(QString::fromStdString(Session().saveTargetPath)).absolutePath());
    QTimer::singleShot(kIdleAfterSaveMs, this, [this] {
        bottom_->stopClock();
        goHome();
    });
}

void CMainFrame::endPreview() {
    if (endPreview_) endPreview_();
    Session().previewRunning = 0;
}

void CMainFrame::closeEvent(QCloseEvent* event) {
    // The window manager's close goes through the same protocol.
    event->ignore();
    requestClose();
}

void CMainFrame::toggleMaximized() {
    maximized_ = !maximized_;
    const Art art = maximized_ ? Art::Restore : Art::Maximize;
    maximize_->setPictures(DrawArt(art, false, devicePixelRatioF()), DrawArt(art, true, devicePixelRatioF()));
    maximize_->setToolTip(maximized_ ? "Restore" : "Maximize");
    const QRect available = screen() ? screen()->availableGeometry() : QRect(QPoint(0, 0), kNormalSize);
    if (maximized_) {
        setGeometry(available);
        return;
    }
    resize(kNormalSize);
    move(available.center() - rect().center());
}

void CMainFrame::resizeEvent(QResizeEvent*) {
    const int r = width(), b = height();
    top_->setGeometry(Ltrb(8, kHeaderHeight, r - 8, 122));
    container_->setGeometry(Ltrb(8, 122, r - 8, b - 94));
    bottom_->setGeometry(Ltrb(8, b - 94, r - 8, b - 5));
    const std::pair<CButtonST*, int> buttons[] = {{close_, 45}, {maximize_, 84}, {minimize_, 123},
                                                  {menu_, 162}, {help_, 201},    {home_, 279}};
    for (auto [button, fromRight] : buttons) button->setGeometry(r - fromRight, 23, 24, 24);
    logo_->setGeometry(Ltrb(20, 14, 360, 62));
}

void CMainFrame::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), look::kWhite);
    painter.fillRect(Ltrb(8, 0, width() - 8, kHeaderHeight), look::kHeaderBlue);
    // A frameless window needs an edge of its own against a white desktop.
    painter.setPen(look::kDialogFrame);
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
}

Qt::Edges CMainFrame::edgesAt(QPoint point) const {
    Qt::Edges edges;
    if (point.x() < kEdgeGrip) edges |= Qt::LeftEdge;
    if (point.x() >= width() - kEdgeGrip) edges |= Qt::RightEdge;
    if (point.y() < kEdgeGrip / 2) edges |= Qt::TopEdge;
    if (point.y() >= height() - kEdgeGrip) edges |= Qt::BottomEdge;
    return edges;
}

// The window moves by any point that no control covers, and is resized by its edges.
void CMainFrame::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || !windowHandle()) return;
    const Qt::Edges edges = edgesAt(event->position().toPoint());
    if (edges && !maximized_) windowHandle()->startSystemResize(edges);
    else windowHandle()->startSystemMove();
}

void CMainFrame::mouseMoveEvent(QMouseEvent* event) {
    const Qt::Edges edges = edgesAt(event->position().toPoint());
    const bool corner = (edges & (Qt::LeftEdge | Qt::RightEdge)) && (edges & (Qt::TopEdge | Qt::BottomEdge));
    const bool falling = edges == (Qt::LeftEdge | Qt::TopEdge) || edges == (Qt::RightEdge | Qt::BottomEdge);
    if (!edges || maximized_) unsetCursor();
    else if (corner) setCursor(falling ? Qt::SizeFDiagCursor : Qt::SizeBDiagCursor);
    else setCursor(edges & (Qt::LeftEdge | Qt::RightEdge) ? Qt::SizeHorCursor : Qt::SizeVerCursor);
}

}  // namespace tolmi
