// Test helpers for the reports that write to standard error or end the process.
#pragma once

#include <cstdio>
#include <string>

#if defined(_WIN32)
#include <io.h>
#include <process.h>
#else
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace ozl::test {

// Runs body with standard error sent to a file and returns what it wrote.
template <class Body>
std::string captureStderr(Body body) {
    std::fflush(stderr);
#if defined(_WIN32)
    // Named per process: test processes may run side by side in one directory.
    const std::string path = "ozl_frame_stderr_" + std::to_string(_getpid()) + ".tmp";
    std::FILE* file = std::fopen(path.c_str(), "w+b");
#else
    std::FILE* file = std::tmpfile();
#endif
    if (file == nullptr) return "<capture failed>";
#if defined(_WIN32)
    const int saved = _dup(2);
    _dup2(_fileno(file), 2);
#else
    const int saved = dup(2);
    dup2(fileno(file), 2);
#endif
    body();
    std::fflush(stderr);
#if defined(_WIN32)
    _dup2(saved, 2);
    _close(saved);
#else
    dup2(saved, 2);
    close(saved);
#endif
    std::string text;
    std::rewind(file);
    char chunk[512];
    std::size_t n;
    while ((n = std::fread(chunk, 1, sizeof chunk, file)) > 0) text.append(chunk, n);
    std::fclose(file);
#if defined(_WIN32)
    std::remove(path.c_str());
#endif
    return text;
}

#if !defined(_WIN32)
struct ChildOutcome {
    bool exited = false;  // ended through exit, not by a signal
    int exitCode = -1;
    std::string err;      // everything written to standard error
};

// Runs body in a child process whose standard error is a pipe; the child ends
// with body's result unless body ends it first.
template <class Body>
ChildOutcome runInChild(Body body) {
    ChildOutcome outcome;
    std::fflush(stdout);
    std::fflush(stderr);
    int fds[2];
    if (pipe(fds) != 0) return outcome;
    const pid_t pid = fork();
    if (pid < 0) return outcome;
    if (pid == 0) {
        close(fds[0]);
        dup2(fds[1], 2);
        close(fds[1]);
        const int rc = body();
        std::fflush(stderr);
        _exit(rc);
    }
    close(fds[1]);
    char chunk[512];
    ssize_t n;
    while ((n = read(fds[0], chunk, sizeof chunk)) > 0) outcome.err.append(chunk, static_cast<std::size_t>(n));
    close(fds[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    outcome.exited = WIFEXITED(status);
    outcome.exitCode = outcome.exited ? WEXITSTATUS(status) : -1;
    return outcome;
}
#endif

}  // namespace ozl::test
