#include "cli/RepairCommand.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <thread>

#include "cli/ConsoleUi.h"
#include "cli/FoundReport.h"
#include "cli/JsonText.h"
#include "platform/Environment.h"
#include "platform/File.h"
#include "workflow/JobControl.h"
#include "workflow/Language.h"
#include "workflow/Properties.h"
#include "workflow/RepairDriver.h"
#include "workflow/RepairSession.h"
#include "workflow/SaveFlow.h"

namespace tolmi {
namespace {

namespace fs = std::filesystem;

std::atomic<int> interrupts{0};
// The job outputs in "$tmp", named before the first signal can come: the
// handler may unlink them but not build their names.
std::string jobOutputs[2];

void onInterrupt(int) {
    RepairSession& s = Session();
    const int earlier = interrupts.fetch_add(1);
    // During the save Ctrl-C stops the move, which takes its partial target
    // away; leaving at once could leave half a file at the user's place.
    if (s.saving == 1) {
        s.saveAllowed = 0;
        return;
    }
    // A second Ctrl-C leaves at once; the first asks the job to cancel.
    if (earlier >= 1) {
        for (const std::string& path : jobOutputs) ::unlink(path.c_str());
        _exit(kExitCancelled);
    }
}

std::atomic<int> suspends{0};

void onSuspend(int) { suspends.fetch_add(1); }

// The signals the main thread has acted on. They are counted over the whole
// job, so that a Ctrl-C or Ctrl-Z that comes between two passes (while the
// reference is read) is acted on when the next pass starts, not lost.
int handledInterrupts = 0, handledSuspends = 0;

struct Options {
    std::string damaged;
    std::string reference;
    std::string output;
    bool force = false;
    bool json = false;
    bool quiet = false;
};

const char* kExitCodesHelp =
    "Ctrl-Z pauses the repair and gives the shell back; fg resumes it.\n"
    "\n"
    "Exit codes:\n"
    "  0    repaired; the result was saved\n"
    "  1    the file cannot be repaired\n"
    "  2    usage error, or the output file exists (give --force to replace it)\n"
    "  3    a healthy reference file is needed (give one with --reference)\n"
    "  4    the file cannot be opened, or there is not enough disk space (before or while\n"
    "       the result is written)\n"
    "  130  cancelled with Ctrl-C (or SIGTERM); a second Ctrl-C quits at once, and Ctrl-C\n"
    "       during the save stops it. No partial result is left at the output place.\n";

std::string AbsolutePath(const std::string& path) {
    std::error_code error;
    fs::path absolute = fs::absolute(path, error);
    return error ? path : absolute.lexically_normal().string();
}

std::string DefaultOutput(const std::string& damaged, bool movJob) {
    fs::path path(damaged);
    return (path.parent_path() / (path.stem().string() + "_repaired" + (movJob ? ".mov" : ".avi"))).string();
}

// Ctrl-Z holds the job as the pause button does and then stops the program,
// so that the shell comes back; "fg" (SIGCONT) goes on where it stopped. The
// time stopped does not count as the job's.
void suspendJob(ConsoleUi& ui) {
    if (Session().paused == 1) return;
    togglePause();
    ui.say("Paused; \"fg\" resumes the repair.");
    std::fflush(stdout);  // the line is there while the program stands still
    ::raise(SIGSTOP);
    togglePause();
}

// Runs one pass of the worker and follows it from the main thread, which
// plays the part of the user interface thread: clock ticks, Ctrl-C, Ctrl-Z.
void runPass(ConsoleUi& ui) {
    using namespace std::chrono_literals;
    ui.beginPass();
    startRepair();
    auto nextTick = std::chrono::steady_clock::now() + 1s;
    while (Session().repairing == 1) {
        if (interrupts > handledInterrupts) {
            handledInterrupts = interrupts;
            cancelJob();
        }
        if (suspends > handledSuspends) {
            handledSuspends = suspends;
            suspendJob(ui);
        }
        if (std::chrono::steady_clock::now() >= nextTick) {
            ui.tick();
            nextTick += 1s;
        }
        ui.waitWhileRunning(50ms);
    }
    waitForWorker();
    ui.endPass();
}

bool IsEmptyFile(const std::string& path) {
    std::error_code error;
    return fs::is_regular_file(path, error) && fs::file_size(path, error) == 0 && !error;
}

bool IsSameFile(const std::string& a, const std::string& b) {
    std::error_code error;
    return fs::equivalent(a, b, error) && !error;
}

// found: what a MOV repair gave back; none for an AVI repair.
void PrintProperties(ConsoleUi& ui, const Options& options, const std::string& target,
                     const std::vector<PropertyRow>& rows, const std::optional<FoundReport>& found) {
    if (options.json) {
        JsonObject json;
        json.add("output", target);
        for (const PropertyRow& row : rows) json.add(row.field, row.value.substr(row.value.rfind(": ", 0) == 0 ? 2 : 0));
        if (found) {
            for (const auto& [key, value] : found->fields) json.add(key, value);
            if (!found->warning.empty()) json.add("warning", found->warning);
        }
        std::printf("%s\n", json.text().c_str());
        return;
    }
    ui.say(LoadText("IDS_REPAIRED_DETAILS") + ": " + target);
    for (const PropertyRow& row : rows) ui.say("  " + LoadText(row.labelKey) + row.value);
    if (!found) return;
    for (const std::string& line : found->lines) ui.say("  " + line);
    if (!found->warning.empty()) ui.sayError("Warning: " + found->warning);
}

int ExitForOutcome(JobOutcome outcome) {
    switch (outcome) {
        case JobOutcome::CannotOpen:
        case JobOutcome::NoDiskSpace: return kExitCannotOpen;
        case JobOutcome::NeedsReference: return kExitNeedsReference;
        case JobOutcome::Cancelled: return kExitCancelled;
        default: return kExitUnrepairable;
    }
}

int SaveAndReport(ConsoleUi& ui, const Options& options, const std::string& target) {
    const bool movJob = Session().isMovJob == 1;
    // A pass that ran to its end without finding a frame has made a file
    // that only looks repaired.
    if (!movJob && Session().aviVideoChunks == 0) {
        ui.sayError(LoadText("IDS_AVIERROR3"));
        returnToIdle();
        return kExitUnrepairable;
    }
    const std::vector<PropertyRow> rows = fillProperties();
    std::optional<FoundReport> found;
    if (movJob && MovState().found.scanned) found = MakeFoundReport(MovState().found);
    const SaveOutcome saved = saveResult(target, options.force);
    if (saved == SaveOutcome::Saved) {
        PrintProperties(ui, options, target, rows, found);
        return kExitRepaired;
    }
    if (saved == SaveOutcome::Failed) {
        // A result that could not be moved is never thrown away.
        ui.sayError("The repaired file could not be moved to " + target + "; it is kept at " +
                    Session().saveSourcePath + " until the next repair.");
        return kExitUnrepairable;
    }
    // A result the user chose not to save leaves nothing in "$tmp".
    returnToIdle();
    switch (saved) {
        case SaveOutcome::TargetExists:
            ui.sayError(target + " exists; give --force to replace it, or another --output.");
            return kExitUsage;
        case SaveOutcome::NoDiskSpace: return kExitCannotOpen;
        case SaveOutcome::Cancelled: return kExitCancelled;
        default: return kExitUnrepairable;
    }
}

int Repair(const Options& options, ConsoleUi& ui) {
    Session().ui = &ui;
    pickCorruptedFile(AbsolutePath(options.damaged));
    const bool movJob = Session().isMovJob == 1;
    const std::string target = AbsolutePath(options.output.empty() ? DefaultOutput(options.damaged, movJob)
                                                                   : options.output);
    // Not even --force may put the result in the place of a file the job reads.
    for (const std::string& input : {options.damaged, options.reference}) {
        if (!input.empty() && IsSameFile(target, input)) {
            ui.sayError(target + " is a file this repair reads; the result must go to another place.");
            return kExitUsage;
        }
    }
    if (FileExists(target) && !options.force) {
        ui.sayError(target + " exists; give --force to replace it, or another --output.");
        return kExitUsage;
    }
    if (!IsDirectory(fs::path(target).parent_path().string()) ||
        ::access(fs::path(target).parent_path().c_str(), W_OK) != 0) {
        ui.sayError("Cannot write to the folder of " + target + ".");
        return kExitCannotOpen;
    }

    // An empty file holds nothing to find, with or without a reference.
    if (IsEmptyFile(options.damaged)) {
        ui.sayError(LoadText(movJob ? "IDS_MOVERROR3" : "IDS_AVIERROR3"));
        return kExitUnrepairable;
    }

    runPass(ui);
    if (ui.outcome() == JobOutcome::NeedsReference && !options.reference.empty()) {
        // The damaged file would only be tried once more as its own reference.
        if (IsSameFile(options.reference, options.damaged)) {
            ui.sayError(options.reference + " is the damaged file itself; the reference must be another video.");
        } else {
            pickReferenceFile(AbsolutePath(options.reference));
            runPass(ui);
        }
    }
    switch (ui.outcome()) {
        case JobOutcome::Finished: return SaveAndReport(ui, options, target);
        case JobOutcome::NeedsReference:
            ui.sayError(LoadText("IDS_SELECT_REFERNCE_HEADER") + ": " + LoadText("IDS_SELECT_REFERENCE"));
            ui.sayError("Hint: repair it against a healthy video from the same camera and settings:\n"
                        "  tolmi-repair " + options.damaged + " --reference HEALTHY.mp4");
            return kExitNeedsReference;
        default: return ExitForOutcome(ui.outcome());
    }
}

}  // namespace

int RunRepairCommand(int argc, char** argv) {
    CLI::App app{"Tolmi Video Repair: rebuilds a playable file from a damaged MOV, MP4 or AVI video.\n"
                 "The damaged file is only read; the result is written beside it as NAME_repaired.mov\n"
                 "(.avi for an AVI) unless --output names another place.",
                 "tolmi-repair"};
    Options options;
    app.add_option("DAMAGED", options.damaged, "the damaged video (.mov, .mp4 or .avi)")->required();
    app.add_option("--reference,-r", options.reference,
                   "a healthy video from the same camera and settings, used when the damaged file has no index");
    app.add_option("--output,-o", options.output, "where to save the repaired file");
    app.add_flag("--force,-f", options.force, "replace the output file if it exists");
    app.add_flag("--json", options.json, "print the result's properties as one JSON object");
    app.add_flag("--quiet,-q", options.quiet, "print no progress, only errors");
    app.set_version_flag("--version", std::string("tolmi-repair ") + TOLMI_VERSION);
    app.footer(kExitCodesHelp);
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& help) {
        return app.exit(help);
    } catch (const CLI::CallForVersion& version) {
        return app.exit(version);
    } catch (const CLI::ParseError& error) {
        app.exit(error);
        return kExitUsage;
    }

    jobOutputs[0] = JoinPath(TemporaryDir(), "Repaired.mov");
    jobOutputs[1] = JoinPath(TemporaryDir(), "Repaired.avi");
    // A termination signal (a service manager, timeout) ends the job as Ctrl-C does,
    // so that no partial result is left behind either.
    std::signal(SIGINT, onInterrupt);
    std::signal(SIGTERM, onInterrupt);
    std::signal(SIGTSTP, onSuspend);
    loadLanguage();
    ConsoleUi ui(options.quiet || options.json, ::isatty(STDOUT_FILENO) == 1);
    const int code = Repair(options, ui);
    Session().ui = nullptr;
    return code;
}

}  // namespace tolmi
