#pragma once

#include <cstddef>
#include <string>
#include <utility>

#include "jet/file/FileSystem.h"
#include "jet/schema/Catalog.h"
#include "jet/table/TableSpace.h"

namespace jet {

/// What Database is made of: the tables of one open file and the catalog that knows them.
struct Engine : TableSpace {
  FileSystem& files;
  std::string path;        ///< as it was given
  std::string realPath;    ///< without links and dots: what the names of lock file and journal are made of
  std::size_t cacheBytes;  ///< budget of the page cache
  bool readOnly = false;
  Catalog catalog;

  Engine(FileSystem& fileSystem, std::string databasePath, std::size_t cache)
      : files(fileSystem), path(std::move(databasePath)), cacheBytes(cache), catalog(*this) {
    directory = &catalog;
  }
};

}  // namespace jet
