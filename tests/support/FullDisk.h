#pragma once

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>

namespace tarlox::test {

// While it lives, no file of this process grows beyond room bytes, so a
// write fails as on a full disk. Tests may run as root, which writes into a
// read-only directory all the same; the file size limit binds root too.
// Writes past it fail with EFBIG (SIGXFSZ ignored meanwhile).
class FullDisk {
public:
    explicit FullDisk(rlim_t room = 0)
    {
        getrlimit(RLIMIT_FSIZE, &saved_);
        previous_ = std::signal(SIGXFSZ, SIG_IGN);
        const struct rlimit full{room, saved_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &full);
    }
    ~FullDisk() { setrlimit(RLIMIT_FSIZE, &saved_); std::signal(SIGXFSZ, previous_); }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

private:
    struct rlimit saved_ {};
    void (*previous_)(int) = nullptr;
};

// Runs work in a child process as an unprivileged user when the test runs as
// root (root writes into read-only directories); true when work said yes.
inline bool RunUnprivileged(const std::function<bool()>& work)
{
    const pid_t child = fork();
    if (child == 0) {
        if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) _exit(3);
        _exit(work() ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace tarlox::test
