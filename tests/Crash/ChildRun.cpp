#include "tests/Crash/ChildRun.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace Varnholt::Testing {

namespace {

using Clock = std::chrono::steady_clock;

// Closes a pipe end when it goes out of scope.
class Descriptor {
 public:
  explicit Descriptor(int fd) : fd_(fd) {}
  ~Descriptor() { Close(); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int Get() const { return fd_; }
  void Close() {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
  }

 private:
  int fd_;
};

// No kill is due.
constexpr Clock::time_point kNever = Clock::time_point::max();

// How long poll may wait before the kill is due: -1 without a kill, 0
// once it is due.
int PollTimeout(Clock::time_point kill_at) {
  if (kill_at == kNever) return -1;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(kill_at - Clock::now());
  return left.count() < 0 ? 0 : static_cast<int>(left.count());
}

// Reads the child's records until it closes its end of the pipe, killing it
// when its time is up.
void ReadReports(int fd, pid_t child, Clock::time_point kill_at, ChildRun& run) {
  std::vector<char> pending;
  std::array<char, 64 * sizeof(CrashReport)> chunk{};
  for (;;) {
    pollfd watched{fd, POLLIN, 0};
    const int ready = ::poll(&watched, 1, PollTimeout(kill_at));
    if (ready < 0 && errno == EINTR) continue;
    if (ready == 0) {  // the kill is due
      ::kill(child, SIGKILL);
      kill_at = kNever;
      continue;
    }
    const ssize_t got = ::read(fd, chunk.data(), chunk.size());
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    pending.insert(pending.end(), chunk.data(), chunk.data() + got);
  }
  for (std::size_t at = 0; at + sizeof(CrashReport) <= pending.size(); at += sizeof(CrashReport)) {
    CrashReport report;
    std::memcpy(&report, pending.data() + at, sizeof report);
    run.reports.push_back(report);
  }
}

}  // namespace

ChildRun RunChild(const std::string& program, const ChildOrders& orders) {
  ChildRun run;
  int ends[2];
  if (::pipe(ends) != 0) {
    run.error = "no pipe";
    return run;
  }
  Descriptor read_end(ends[0]);
  Descriptor write_end(ends[1]);
  ::fcntl(read_end.Get(), F_SETFD, FD_CLOEXEC);
  // Everything the child needs is built before fork: after it, the child
  // only execs. A build for another machine starts it through its emulator.
  std::vector<std::string> arguments = {program,
                                        orders.krd,
                                        orders.krq,
                                        std::to_string(write_end.Get()),
                                        std::to_string(orders.crash_at_write),
                                        std::to_string(orders.seed),
                                        std::to_string(orders.blocks)};
  if (const std::string launcher = KRD_PROGRAM_LAUNCHER; !launcher.empty()) {
    arguments.insert(arguments.begin(), launcher);
  }
  std::vector<char*> argv;
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);

  const Clock::time_point start = Clock::now();
  const pid_t child = ::fork();
  if (child < 0) {
    run.error = "fork failed";
    return run;
  }
  if (child == 0) {
    ::execv(argv[0], argv.data());
    ::_exit(127);
  }
  write_end.Close();
  const Clock::time_point kill_at = orders.kill_after ? start + *orders.kill_after : kNever;
  ReadReports(read_end.Get(), child, kill_at, run);
  int status = 0;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  run.duration = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
  run.killed = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
  run.exit_status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return run;
}

}  // namespace Varnholt::Testing
