#include "ext/UNIXCommerceHandler.h"

#include <dlfcn.h>
#include <signal.h>

namespace {

// Lets the web server's signals end the process while library code runs.
// The engine's own handler only notes a signal and relies on the next tag
// to stop, which never comes if the library does not return; a library
// that hangs must cost its own request and nothing more.
class LibraryCall {
 public:
  LibraryCall() {
    struct sigaction plain;
    plain.sa_handler = SIG_DFL;
    sigemptyset(&plain.sa_mask);
    plain.sa_flags = 0;
    for (int i = 0; i < kCount; i++) sigaction(kSignals[i], &plain, &saved_[i]);
  }
  ~LibraryCall() {
    for (int i = 0; i < kCount; i++) sigaction(kSignals[i], &saved_[i], nullptr);
  }
  LibraryCall(const LibraryCall&) = delete;
  LibraryCall& operator=(const LibraryCall&) = delete;

 private:
  static constexpr int kCount = 3;
  static constexpr int kSignals[kCount] = {SIGHUP, SIGINT, SIGTERM};
  struct sigaction saved_[kCount];
};

}  // namespace

UNIXCommerceHandler::UNIXCommerceHandler(CommerceMethod* method, ScriptParser* parser)
    : CommerceHandler(method, parser),
      userdata_(nullptr),
      library_(nullptr),
      init_(nullptr),
      loop_(nullptr),
      cleanup_(nullptr),
      errorfunction_(nullptr),
      iteration_(0) {}

UNIXCommerceHandler::~UNIXCommerceHandler() {
  if (library_ == nullptr) return;
  LibraryCall call;
  if (cleanup_ != nullptr) cleanup_(parser, &userdata_, method->name.chars(), action.chars(), &fields);
  dlclose(library_);
}

void* UNIXCommerceHandler::Bind(const char* name) {
  dlerror();
  void* symbol = dlsym(library_, name);
  if (symbol == nullptr) {
    const char* text = dlerror();
    Error(text != nullptr ? String(text) : String(name) + ": not found");
  }
  return symbol;
}

int UNIXCommerceHandler::Result(int answer) {
  if (answer == CommerceResultError) {
    LibraryCall call;
    const char* text = errorfunction_(parser, &userdata_, method->name.chars(), action.chars(), &fields);
    Error(text != nullptr ? text : "");
    return CommerceResultError;
  }
  return answer == CommerceResultFinished ? CommerceResultFinished : CommerceResultReady;
}

int UNIXCommerceHandler::Go(VariableTree& tree) {
  iteration_ = 0;
  if (library_ == nullptr) {
    // The path comes from the configuration file and is trusted as it is.
    // Loading runs the library's constructors, its own code too.
    {
      LibraryCall call;
      library_ = dlopen(method->library.chars(), RTLD_NOW);
    }
    if (library_ == nullptr) {
      const char* text = dlerror();
      Error(text != nullptr ? text : "");
      return CommerceResultError;
    }
    // Bound in this order, so that a library lacking a later one is still
    // cleaned up when it has cleanup itself.
    if ((init_ = reinterpret_cast<InitFunction>(Bind("sorn_commerce_init"))) == nullptr ||
        (loop_ = reinterpret_cast<LoopFunction>(Bind("sorn_commerce_loop"))) == nullptr ||
        (cleanup_ = reinterpret_cast<CleanupFunction>(Bind("sorn_commerce_cleanup"))) == nullptr ||
        (errorfunction_ = reinterpret_cast<ErrorFunction>(Bind("sorn_commerce_error"))) == nullptr)
      return CommerceResultError;
  }
  int answer;
  {
    LibraryCall call;
    answer = init_(parser, &userdata_, method->name.chars(), action.chars(), &fields, &tree);
  }
  int result = Result(answer);
  if (result != CommerceResultReady) return result;
  return Continue(tree);
}
int UNIXCommerceHandler::Continue(VariableTree& tree) {
  int answer;
  {
    LibraryCall call;
    answer = loop_(parser, &userdata_, method->name.chars(), action.chars(), &fields, &tree, iteration_);
  }
  iteration_++;
  return Result(answer);
}
