// UNIXConfig: the configuration as read from the configuration file.
#ifndef SORN_HOST_UNIXCONFIG_H
#define SORN_HOST_UNIXCONFIG_H

#include "core/Config.h"
#include "core/SplayTree.h"
#include "host/MimeType.h"

// Rewrites each reference &[NAME] in value with lookup(NAME), NAME stripped
// of white space. Whatever character follows '&' opens a reference (it is
// meant to be '['), the name runs to ']' or the end, and the scan resumes
// behind the ']', so a ';' written after it stays in the value.
template <class Lookup>
void ExpandReferences(String& value, Lookup lookup) {
  String result;
  const int n = value.length();
  for (int i = 0; i < n; i++) {
    if (value[i] != '&') {
      result.cat(value[i]);
      continue;
    }
    int end = i + 2 < n ? i + 2 : n;
    const int start = end;
    while (end < n && value[end] != ']') end++;
    String name = value.at(start, end);
    name.StripWhitespace();
    result.cat(lookup(name));
    i = end;
  }
  value = result;
}

class UNIXConfig : public Config {
 public:
  UNIXConfig(Sorn* sorn, int servermode);
  ~UNIXConfig() override;

  int SetConfigValue(const String& name, const String& value) override;
  // 0 on success, 1 on failure (reported).
  int ReadConfiguration(const String& path);
  int ValidateConfiguration();
  // Expands &[NAME] references to the process environment in place.
  void ProcessMacros(String& value);
  // The system-wide and the user's site-variable files. 0 on success, 1 on
  // failure (reported).
  int ReadSiteVars();
  int ReadUserSiteVars();
  int ReadSiteVarsFile(Sorn* sorn, const String& path, int required) override;

  // Gives each extension of the comma list (blanks and one leading '.'
  // removed) the type, replacing a type it had.
  void AddContentType(const String& extensions, const String& type);
  // The type of the extension (one leading '.' ignored), or
  // defaultcontenttype when it has none.
  String GetContentType(const String& extension);

  // Decides from authfile whether the user may run scripts, and where the
  // user's data lies: datadirectory is set on a grant, emptied on a denial,
  // and left as it is when no line names the user. 0 on success, 1 on
  // failure (reported).
  int ReadAuthFile(int uid, int gid, const String& username, const String& homedirectory,
                   String& datadirectory);

  Sorn* sorn() const { return sorn_; }

  String virtualhost;
  String currentdirectory;
  String defaultcontenttype;

 private:
  Sorn* sorn_;
  int servermode_;
  SplayTree<MimeType> mimetypes_;
};

#endif
