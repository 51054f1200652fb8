#include "ado/Catalog.h"

#include <algorithm>
#include <utility>

#include "ado/Connection.h"
#include "ado/Errors.h"
#include "ado/Provider.h"
#include "runtime/Text.h"

namespace tamlo::ado {

const Variant& PropertyMap::Item(const std::string& name) const {
  const auto found = values_.find(runtime::UpperCase(name));
  if (found == values_.end()) throw AdoError(runtime::kItemNotFound, name);
  return found->second;
}

bool PropertyMap::Has(const std::string& name) const { return values_.contains(runtime::UpperCase(name)); }

void PropertyMap::Set(const std::string& name, Variant value) { values_[runtime::UpperCase(name)] = std::move(value); }

std::vector<Column>& Table::Columns() {
  if (!columns_) columns_ = catalog_ ? catalog_->Columns(name_) : std::vector<Column>();
  return *columns_;
}

Column& Table::ColumnNamed(const std::string& name) {
  const std::string upper = runtime::UpperCase(name);
  auto& columns = Columns();
  const auto found =
      std::find_if(columns.begin(), columns.end(), [&](const Column& column) { return runtime::UpperCase(column.name) == upper; });
  if (found == columns.end()) throw AdoError(runtime::kItemNotFound, name);
  return *found;
}

std::vector<Index>& Table::Indexes() {
  if (!indexes_) indexes_ = catalog_ ? catalog_->Indexes(name_) : std::vector<Index>();
  return *indexes_;
}

Variant Table::Property(const std::string& name) { return Properties().Item(name); }

void Table::Property(const std::string& name, const Variant& value) {
  if (catalog_) throw AdoError(runtime::kOperationNotSupported, name);
  if (!properties_) properties_.emplace();
  properties_->Set(name, value);
}

const PropertyMap& Table::Properties() {
  if (!properties_) properties_ = catalog_ ? catalog_->Properties(name_) : PropertyMap();
  return *properties_;
}

void Table::AppendColumn(const Column& column) {
  if (!catalog_) {
    Columns().push_back(column);
    return;
  }
  catalog_->AppendColumn(name_, column);
  columns_.reset();
}

void Table::AppendIndex(const ado::Index& index) {
  if (!catalog_) {
    Indexes().push_back(index);
    return;
  }
  catalog_->AppendIndex(name_, index);
  indexes_.reset();
}

Catalog::Catalog(Connection& connection) : provider_(connection.Native().OpenCatalog()) {}
Catalog::~Catalog() = default;

std::size_t Catalog::TableCount() {
  Load();
  return tables_.size();
}

Table& Catalog::Tables(std::size_t position) {
  Load();
  if (position >= tables_.size()) throw AdoError(runtime::kItemNotFound, std::to_string(position));
  return *tables_[position];
}

Table& Catalog::Tables(const std::string& name) {
  Table* found = Find(name);
  if (!found) throw AdoError(runtime::kItemNotFound, name);
  return *found;
}

Table* Catalog::Find(const std::string& name) {
  Load();
  const auto found = byName_.find(runtime::UpperCase(name));
  return found == byName_.end() ? nullptr : found->second;
}

void Catalog::Append(const Table& table) {
  Table copy = table;
  provider_->AppendTable(copy);
  Refresh();
}

void Catalog::Refresh() {
  loaded_ = false;
  byName_.clear();
  tables_.clear();
  provider_->Forget();
}

void Catalog::Load() {
  if (loaded_) return;
  std::vector<std::unique_ptr<Table>> tables;
  std::map<std::string, Table*> byName;
  for (auto& [name, type] : provider_->Tables()) {
    tables.push_back(std::make_unique<Table>(std::move(name), std::move(type), provider_.get()));
    byName.emplace(runtime::UpperCase(tables.back()->Name()), tables.back().get());
  }
  tables_ = std::move(tables);
  byName_ = std::move(byName);
  loaded_ = true;
}

}  // namespace tamlo::ado
