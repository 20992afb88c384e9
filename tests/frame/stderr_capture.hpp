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

// Runs body with standard error sent to a file (named per process: test
// programs may run side by side in one folder) and returns what it wrote.
template <class Body>
std::string captureStderr(Body body) {
    std::fflush(stderr);
    const std::string path = "ozl_frame_stderr_" + std::to_string(getpid()) + ".tmp";
    std::FILE* file = std::fopen(path.c_str(), "w+b");
    if (file == nullptr) return "<capture failed>";
    const int saved = dup(2);
    dup2(fileno(file), 2);
    body();
    std::fflush(stderr);
    dup2(saved, 2), close(saved);
    std::string text;
    std::rewind(file);
    char chunk[512];
    for (std::size_t n; (n = std::fread(chunk, 1, sizeof chunk, file)) > 0;) text.append(chunk, n);
    std::fclose(file);
    std::remove(path.c_str());
    return text;
}

#if !defined(_WIN32)
struct ChildOutcome { int exitCode = -1; std::string err; };  // -1 unless the child ended through exit

// Runs body in a child process with standard error on a pipe; the child ends
// with body's result unless body ends it first.
template <class Body>
ChildOutcome runInChild(Body body) {
    ChildOutcome outcome;
    std::fflush(stdout), std::fflush(stderr);
    int fds[2];
    if (pipe(fds) != 0) return outcome;
    const pid_t pid = fork();
    if (pid == 0) {
        dup2(fds[1], 2);
        close(fds[0]), close(fds[1]);
        const int rc = body();
        std::fflush(stderr);
        _exit(rc);
    }
    close(fds[1]);
    char chunk[512];
    for (ssize_t n; pid > 0 && (n = read(fds[0], chunk, sizeof chunk)) > 0;) outcome.err.append(chunk, static_cast<std::size_t>(n));
    close(fds[0]);
    int status = 0;
    if (pid > 0 && waitpid(pid, &status, 0) == pid && WIFEXITED(status)) outcome.exitCode = WEXITSTATUS(status);
    return outcome;
}
#endif

}  // namespace ozl::test
