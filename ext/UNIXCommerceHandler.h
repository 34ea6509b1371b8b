// UNIXCommerceHandler: runs a commerce method from a shared library loaded
// with dlopen. The library is loaded by Go and unloaded by the destructor,
// so each SnCOMMERCE loop gets a fresh copy and a fresh user-data slot.
//
// The library's entry points (declared for library writers in
// ext/sorn_extension.h) all take the parser as an opaque handle, the
// address of userdata, the method name, the action and the field list:
//   sorn_commerce_init(..., tree)             0 go on, 1 error, 2 nothing to do
//   sorn_commerce_loop(..., tree, iteration)  0 a result, 1 error, 2 finished
//   sorn_commerce_cleanup(...)                result ignored
//   sorn_commerce_error(...)                  the message, kept by the library
#ifndef SORN_EXT_UNIXCOMMERCEHANDLER_H
#define SORN_EXT_UNIXCOMMERCEHANDLER_H

#include "script/CommerceHandler.h"

class UNIXCommerceHandler : public CommerceHandler {
 public:
  UNIXCommerceHandler(CommerceMethod* method, ScriptParser* parser);
  // Calls cleanup, when it was found, and unloads the library.
  ~UNIXCommerceHandler() override;
  // Loads the library, binds the four entry points, runs init and the
  // first loop call. A CommerceResult; on an error, error() holds the
  // loader's text or the library's message.
  int Go(VariableTree& tree) override;
  // The next loop call.
  int Continue(VariableTree& tree) override;

 private:
  typedef int (*InitFunction)(void*, void**, const char*, const char*, void*, void*);
  typedef int (*LoopFunction)(void*, void**, const char*, const char*, void*, void*, int);
  typedef int (*CleanupFunction)(void*, void**, const char*, const char*, void*);
  typedef const char* (*ErrorFunction)(void*, void**, const char*, const char*, void*);

  // The entry point of that name, or null with the loader's text in error().
  void* Bind(const char* name);
  // Turns an entry point's answer into a CommerceResult.
  int Result(int answer);

  void* userdata_;
  void* library_;
  InitFunction init_;
  LoopFunction loop_;
  CleanupFunction cleanup_;
  ErrorFunction errorfunction_;
  int iteration_;
};

#endif
