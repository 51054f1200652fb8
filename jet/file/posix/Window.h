#pragma once

#include <cstddef>
#include <memory>

#include "jet/file/FileSystem.h"

namespace jet {

/// The first page of an open file as this machine's processes write it; null where the file lies on another machine or on a file system that is
/// not known to keep such a window equal to what Read gives.
/// A file cut short under a window would end the program (SIGBUS); here the window reads zeros from then on. Signals of other windows and
/// mappings go to who handled them before.
std::unique_ptr<FileWindow> OpenPosixWindow(int descriptor, std::size_t length);

}  // namespace jet
