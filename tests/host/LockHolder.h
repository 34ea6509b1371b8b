// Another process that holds a write lock on bytes of a file for a while.
// The constructor returns once the lock is held; the process lets go when
// the time is up and exits, and Wait or the destructor reaps it.
#ifndef SORN_TESTS_HOST_LOCKHOLDER_H
#define SORN_TESTS_HOST_LOCKHOLDER_H

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

class LockHolder {
 public:
  // The file is made if it is missing; length 0 locks to the end.
  LockHolder(const std::string& path, off_t start, off_t length, int milliseconds) {
    int ready[2];
    if (pipe(ready) != 0) return;
    pid_ = fork();
    if (pid_ == 0) {
      close(ready[0]);
      int fd = open(path.c_str(), O_RDWR | O_CREAT, 0600);
      struct flock hold = {};
      hold.l_type = F_WRLCK;
      hold.l_whence = SEEK_SET;
      hold.l_start = start;
      hold.l_len = length;
      if (fd < 0 || fcntl(fd, F_SETLKW, &hold) != 0 || write(ready[1], "x", 1) != 1) _exit(1);
      usleep(milliseconds * 1000);
      _exit(0);  // the lock goes with the process
    }
    close(ready[1]);
    char c;
    held_ = pid_ > 0 && read(ready[0], &c, 1) == 1;
    close(ready[0]);
  }
  ~LockHolder() { Wait(); }
  LockHolder(const LockHolder&) = delete;
  LockHolder& operator=(const LockHolder&) = delete;

  bool held() const { return held_; }
  // 0 when the process held its lock and let go in time.
  int Wait() {
    if (pid_ > 0 && waitpid(pid_, &status_, 0) == pid_) pid_ = -1;
    return WIFEXITED(status_) ? WEXITSTATUS(status_) : -1;
  }

 private:
  pid_t pid_ = -1;
  int status_ = 0;
  bool held_ = false;
};

#endif
