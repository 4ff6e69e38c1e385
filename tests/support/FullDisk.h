#pragma once

#include <sys/resource.h>

#include <csignal>

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
        struct rlimit full = saved_;
        full.rlim_cur = room;
        setrlimit(RLIMIT_FSIZE, &full);
    }
    ~FullDisk()
    {
        setrlimit(RLIMIT_FSIZE, &saved_);
        std::signal(SIGXFSZ, previous_);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

private:
    struct rlimit saved_ {};
    void (*previous_)(int) = nullptr;
};

}  // namespace tarlox::test
