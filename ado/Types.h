#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <variant>

#include "runtime/Variant.h"

namespace tamlo::ado {

using runtime::Variant;

/// Data types by their ADO codes; everywhere a type travels as its 16-bit code.
enum DataType : std::int16_t {
  adEmpty = 0,
  adSmallInt = 2,
  adInteger = 3,
  adSingle = 4,
  adDouble = 5,
  adCurrency = 6,
  adDate = 7,
  adBoolean = 11,
  adTinyInt = 16,
  adUnsignedTinyInt = 17,
  adUnsignedSmallInt = 18,
  adUnsignedInt = 19,
  adBigInt = 20,
  adUnsignedBigInt = 21,
  adGUID = 72,
  adBinary = 128,
  adChar = 129,
  adWChar = 130,
  adNumeric = 131,
  adDBDate = 133,
  adDBTime = 134,
  adDBTimeStamp = 135,
  adVarNumeric = 139,
  adVarChar = 200,
  adLongVarChar = 201,
  adVarWChar = 202,
  adLongVarWChar = 203,
  adVarBinary = 204,
  adLongVarBinary = 205,
};

enum CursorType : std::int16_t { adOpenUnspecified = -1, adOpenForwardOnly = 0, adOpenKeyset = 1, adOpenDynamic = 2, adOpenStatic = 3 };
enum LockType : std::int16_t {
  adLockUnspecified = -1,
  adLockReadOnly = 1,
  adLockPessimistic = 2,
  adLockOptimistic = 3,
  adLockBatchOptimistic = 4
};
enum CursorLocation : std::int16_t { adUseServer = 2, adUseClient = 3 };
enum SeekOption : std::int16_t {
  adSeekFirstEQ = 1,
  adSeekLastEQ = 2,
  adSeekAfterEQ = 4,
  adSeekAfter = 8,
  adSeekBeforeEQ = 16,
  adSeekBefore = 32
};
enum EditMode : std::int16_t { adEditNone = 0, adEditInProgress = 1, adEditAdd = 2 };
enum SearchDirection : std::int16_t { adSearchBackward = -1, adSearchForward = 1 };
/// What AbsolutePosition gives where there is no number.
enum PositionValue : std::int16_t { adPosEOF = -3, adPosBOF = -2, adPosUnknown = -1 };
/// What a row of a recordset is whose changes wait (adLockBatchOptimistic); the last two together with one of the others.
enum RecordStatus : std::int32_t {
  adRecOK = 0,
  adRecNew = 1,
  adRecModified = 2,
  adRecDeleted = 4,
  adRecUnmodified = 8,
  adRecConcurrencyViolation = 2048,
  adRecIntegrityViolation = 4096
};
/// Which rows Filter shows besides by criteria.
enum FilterGroup : std::int16_t { adFilterNone = 0, adFilterPendingRecords = 1, adFilterConflictingRecords = 5 };
enum ResyncValues : std::int16_t { adResyncUnderlyingValues = 1, adResyncAllValues = 2 };
enum SortOrder : std::int16_t { adSortAscending = 1, adSortDescending = 2 };
enum IndexNulls : std::int16_t { adIndexNullsAllow = 0, adIndexNullsDisallow = 1, adIndexNullsIgnore = 2, adIndexNullsIgnoreAny = 4 };
enum ColumnAttributes : std::int32_t { adColFixed = 1, adColNullable = 2 };

/// Which way the value of a parameter goes. A return value is that of a function, and the first one.
enum ParameterDirection : std::int16_t { adParamInput = 1, adParamOutput = 2, adParamInputOutput = 3, adParamReturnValue = 4 };

/// Options of Open and Execute.
constexpr std::int32_t adOptionUnspecified = -1;
constexpr std::int32_t adCmdText = 1;
constexpr std::int32_t adCmdTable = 2;
constexpr std::int32_t adCmdStoredProc = 4;
constexpr std::int32_t adCmdUnknown = 8;
constexpr std::int32_t adCmdTableDirect = 512;
constexpr std::int32_t adExecuteNoRecords = 128;

/// True for the types whose values are texts (129, 130, 200 to 203).
[[nodiscard]] constexpr bool IsTextType(std::int16_t type) noexcept {
  return type == adChar || type == adWChar || (type >= adVarChar && type <= adLongVarWChar);
}
/// True for the types whose values may be of any length and are read and written in pieces.
[[nodiscard]] constexpr bool IsLongType(std::int16_t type) noexcept {
  return type == adLongVarChar || type == adLongVarWChar || type == adLongVarBinary;
}

/// How many of the rows that were given to be written are in the table. The two differ when the answer to the last batch was lost.
struct StoredRows {
  std::int64_t atLeast = 0;
  std::int64_t atMost = 0;
};

/// Gives the next bytes of a long value (text as UTF-8, never cut inside a character); 0 at the end.
using ChunkSource = std::function<std::size_t(std::byte* buffer, std::size_t capacity)>;

}  // namespace tamlo::ado
