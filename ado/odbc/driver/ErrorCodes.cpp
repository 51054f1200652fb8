#include "ado/odbc/driver/ErrorCodes.h"

#include <algorithm>
#include <array>

namespace tamlo::ado::odbc {
namespace {

struct KnownCode {
  std::int32_t code;
  unsigned meanings;
};

constexpr auto kDuplicate = static_cast<unsigned>(CodeMeaning::kDuplicateKey);
constexpr auto kRights = static_cast<unsigned>(CodeMeaning::kRights);
constexpr auto kLost = static_cast<unsigned>(CodeMeaning::kConnectionLost);
constexpr auto kLock = static_cast<unsigned>(CodeMeaning::kLockTimeout);
constexpr auto kBeyond = static_cast<unsigned>(CodeMeaning::kBeyondTheRow);

constexpr std::array kCodes{
    // MariaDB and MySQL
    KnownCode{1021, kBeyond},          // disk full
    KnownCode{1026, kBeyond},          // error writing a file
    KnownCode{1030, kBeyond},          // of the storage engine
    KnownCode{1044, kRights},          // on a database
    KnownCode{1062, kDuplicate},       // of a key
    KnownCode{1105, kBeyond},          // unknown, and SQL Server's file group that is full
    KnownCode{1114, kBeyond},          // table full
    KnownCode{1142, kRights},          // on a table
    KnownCode{1143, kRights},          // on a column
    KnownCode{1146, kBeyond},          // no such table
    KnownCode{1205, kLock | kBeyond},  // lock wait timeout; SQL Server's deadlock
    KnownCode{1213, kBeyond},          // deadlock
    KnownCode{1227, kRights},          // a privilege that is lacking
    KnownCode{1290, kBeyond},          // read-only
    KnownCode{1586, kDuplicate},       // with the key's name
    KnownCode{1836, kBeyond},          // read-only
    KnownCode{1927, kLost},            // closed by the server
    KnownCode{2006, kLost | kBeyond},  // the server has gone away
    KnownCode{2013, kLost | kBeyond},  // lost during a query
    KnownCode{2055, kLost | kBeyond},  // the same, with the system's reason
    // SQL Server
    KnownCode{229, kRights},
    KnownCode{1222, kLock | kBeyond},
    KnownCode{2601, kDuplicate},  // of an index
    KnownCode{2627, kDuplicate},  // of a constraint
    KnownCode{9002, kBeyond},     // log full
    // Oracle
    KnownCode{1, kDuplicate},
    KnownCode{60, kBeyond},   // deadlock
    KnownCode{942, kBeyond},  // no such table
    KnownCode{1031, kRights},
    KnownCode{1536, kBeyond},  // no room in the tablespace, and those up to 1691
    KnownCode{1562, kBeyond},
    KnownCode{1631, kBeyond},
    KnownCode{1653, kBeyond},
    KnownCode{1654, kBeyond},
    KnownCode{1691, kBeyond},
    KnownCode{3113, kBeyond},  // no connection, and those behind it
    KnownCode{3114, kBeyond},
    KnownCode{12571, kBeyond},
};

}  // namespace

bool Means(std::int32_t code, CodeMeaning meaning) noexcept {
  const auto found = std::find_if(kCodes.begin(), kCodes.end(), [&](const KnownCode& known) { return known.code == code; });
  return found != kCodes.end() && (found->meanings & static_cast<unsigned>(meaning)) != 0;
}

}  // namespace tamlo::ado::odbc
