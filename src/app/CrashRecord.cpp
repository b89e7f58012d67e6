#include "app/CrashRecord.h"

#include <execinfo.h>
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace tolmi {
namespace {

constexpr int kFatalSignals[] = {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT};

// Filled before any crash: the handler may only use what already exists.
char recordPath[4096];

void WriteText(int fd, const char* text) {
    for (size_t left = strlen(text); left > 0;) {
        const ssize_t n = write(fd, text, left);
        if (n <= 0) return;
        text += n;
        left -= size_t(n);
    }
}

// Digits by hand: printf is not safe in a signal handler.
void WriteNumber(int fd, unsigned long value, unsigned base) {
    char digits[32];
    int at = sizeof digits - 1;
    digits[at] = '\0';
    do {
        digits[--at] = "0123456789abcdef"[value % base];
        value /= base;
    } while (value != 0 && at > 0);
    WriteText(fd, digits + at);
}

void OnFatalSignal(int signal, siginfo_t* info, void*) {
    const int fd = open(recordPath, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd >= 0) {
        WriteText(fd, "Tolmi Video Repair " TOLMI_VERSION "\nsignal ");
        WriteNumber(fd, unsigned(signal), 10);
        WriteText(fd, " (");
        WriteText(fd, sigabbrev_np(signal) ? sigabbrev_np(signal) : "?");
        WriteText(fd, ")\nfault address 0x");
        WriteNumber(fd, reinterpret_cast<unsigned long>(info ? info->si_addr : nullptr), 16);
        WriteText(fd, "\nbacktrace:\n");
        void* frames[64];
        backtrace_symbols_fd(frames, backtrace(frames, 64), fd);
        close(fd);
    }
    // The crash goes on: the default action, with the signal again.
    ::signal(signal, SIG_DFL);
    raise(signal);
}

}  // namespace

std::string CrashRecordPath() {
    std::string base;
    if (const char* data = std::getenv("XDG_DATA_HOME"); data && *data == '/') base = data;
    else if (const char* home = std::getenv("HOME"); home && *home) base = std::string(home) + "/.local/share";
    else return {};
    return base + "/Tolmi/videorepair/new.dmp";
}

void InstallCrashRecord() {
    const std::string path = CrashRecordPath();
    if (path.empty() || path.size() >= sizeof recordPath) return;
    memcpy(recordPath, path.c_str(), path.size() + 1);
    // backtrace() loads its helper library on first use; that must not
    // happen inside the handler.
    void* warmUp[1];
    backtrace(warmUp, 1);

    static std::vector<char> alternateStack(std::max<size_t>(SIGSTKSZ, 64 * 1024));
    stack_t stack{};
    stack.ss_sp = alternateStack.data();
    stack.ss_size = alternateStack.size();
    sigaltstack(&stack, nullptr);

    struct sigaction action {};
    action.sa_sigaction = OnFatalSignal;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_RESETHAND;
    sigemptyset(&action.sa_mask);
    for (int signal : kFatalSignals) sigaction(signal, &action, nullptr);
}

}  // namespace tolmi
