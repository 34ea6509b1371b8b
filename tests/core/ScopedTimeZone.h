// Sets TZ for the life of the object and gives the process its own zone
// back afterwards, so that a test of local dates leaves no trace.
#ifndef SORN_TESTS_CORE_SCOPEDTIMEZONE_H
#define SORN_TESTS_CORE_SCOPEDTIMEZONE_H

#include <stdlib.h>
#include <time.h>

#include <string>

class ScopedTimeZone {
 public:
  explicit ScopedTimeZone(const char* tz) {
    const char* old = getenv("TZ");
    had_ = old != nullptr;
    if (had_) saved_ = old;
    Set(tz);
  }
  ~ScopedTimeZone() {
    had_ ? setenv("TZ", saved_.c_str(), 1) : unsetenv("TZ");
    tzset();
  }
  ScopedTimeZone(const ScopedTimeZone&) = delete;
  ScopedTimeZone& operator=(const ScopedTimeZone&) = delete;

  void Set(const char* tz) {
    setenv("TZ", tz, 1);
    tzset();
  }

 private:
  bool had_;
  std::string saved_;
};

#endif
