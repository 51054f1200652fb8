#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "ado/Provider.h"
#include "ado/sqlite/Session.h"

namespace tamlo::ado::sqlite {

/// The rows of a query, forward only, and new rows in the one table that it shows. A row that was added cannot be read here.
class SqliteRowset final : public ProviderRowset {
 public:
  SqliteRowset(std::shared_ptr<Session> session, const RowsetRequest& request);

  [[nodiscard]] const std::vector<FieldInfo>& Fields() const override { return fields_; }
  /// Runs a statement that gives no rows.
  void RunWhole(std::int64_t* affected);

  bool MoveFirst() override;
  bool MoveNext() override;
  [[nodiscard]] Variant Value(std::size_t field) override;
  std::size_t ReadChunk(std::size_t field, std::byte* buffer, std::size_t capacity) override;

  [[nodiscard]] bool CanUpdate() const override { return !table_.empty(); }
  void Insert(std::span<const Assignment> values) override;
  /// Error 3251.
  void Update(std::span<const Assignment> values) override;
  void Delete() override;

 private:
  /// What a field shows of its table; blank for what is computed.
  struct Origin {
    std::string column;
    std::string declared;
  };
  void Describe();

  std::shared_ptr<Session> session_;
  std::int32_t timeoutSeconds_;
  Statement statement_;
  std::vector<FieldInfo> fields_;
  std::vector<Origin> origins_;
  std::string table_;  // of all fields; blank where they are not of one
  bool onRow_ = false;
  bool atEnd_ = false;
  std::size_t chunkField_ = 0;
  std::size_t chunkOffset_ = 0;
};

}  // namespace tamlo::ado::sqlite
