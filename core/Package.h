// Package: a tar archive the configuration declares with a PACKAGE tag.
// Sorn keeps the declared ones in a list found by code, ignoring case; once
// the configuration is applied the list holds only the packages that the
// packages key enables, in that key's order.
#ifndef SORN_CORE_PACKAGE_H
#define SORN_CORE_PACKAGE_H

#include "core/String.h"

class Package {
 public:
  Package(const String& code, const String& name, const String& description, const String& version,
          const String& path, const String& defaultpath)
      : code(code),
        name(name),
        description(description),
        version(version),
        path(path),
        defaultpath(defaultpath) {}

  String code;
  String name;
  String description;
  String version;
  String path;  // the archive
  String defaultpath;
};

inline const char* ElementName(const Package* package) { return package->code.chars(); }

#endif
