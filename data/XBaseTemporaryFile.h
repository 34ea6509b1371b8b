// XBaseTemporaryFile: a file that Pack or Reindex builds beside the one it
// replaces; when all went well the temporary is renamed over the target.
#ifndef SORN_DATA_XBASETEMPORARYFILE_H
#define SORN_DATA_XBASETEMPORARYFILE_H

#include "core/String.h"

class XBaseTemporaryFile {
 public:
  XBaseTemporaryFile(const String& target, const String& temporary) : target_(target), temporary_(temporary) {}
  const String& target() const { return target_; }
  const String& temporary() const { return temporary_; }

 private:
  String target_;
  String temporary_;
};

#endif
