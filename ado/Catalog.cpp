#include "ado/Catalog.h"

#include <algorithm>
#include <utility>

#include "ado/Connection.h"
#include "ado/ConnectionKeys.h"
#include "ado/ConnectionState.h"
#include "ado/Errors.h"
#include "ado/KeyNames.h"
#include "ado/Provider.h"
#include "runtime/Secret.h"
#include "runtime/Text.h"

namespace tamlo::ado {

/// The provider's catalog, shared by a Catalog and its tables, as long as the connection is open.
struct CatalogLink final : Dependent {
  explicit CatalogLink(std::shared_ptr<ConnectionState> owner)
      : connection(std::move(owner)), provider(connection->Native(runtime::kObjectClosed).OpenCatalog()) {
    connection->dependents.push_back(this);
  }
  ~CatalogLink() { ConnectionCloses(); }
  void ConnectionCloses() noexcept override {
    provider.reset();
    std::erase(connection->dependents, static_cast<Dependent*>(this));
  }
  [[nodiscard]] ProviderCatalog& Provider() const {
    if (!provider) throw AdoError(runtime::kObjectClosed);
    return *provider;
  }

  std::shared_ptr<ConnectionState> connection;
  std::unique_ptr<ProviderCatalog> provider;
  bool renamed = false;  // a table, since the catalog has looked
};

namespace {

template <typename Items>
auto FindNamed(Items& items, const std::string& name) {
  const std::string upper = runtime::UpperCase(name);
  const auto found = std::find_if(items.begin(), items.end(), [&](const auto& item) { return runtime::UpperCase(item.name) == upper; });
  if (found == items.end()) throw AdoError(runtime::kItemNotFound, name);
  return found;
}

}  // namespace

const Variant& PropertyMap::Item(const std::string& name) const {
  const auto found = values_.find(runtime::UpperCase(name));
  if (found == values_.end()) throw AdoError(runtime::kItemNotFound, name);
  return found->second;
}

bool PropertyMap::Has(const std::string& name) const { return values_.contains(runtime::UpperCase(name)); }

void PropertyMap::Set(const std::string& name, Variant value) { values_[runtime::UpperCase(name)] = std::move(value); }

std::vector<Column>& Table::Columns() {
  if (!columns_) columns_ = link_ ? link_->Provider().Columns(name_) : std::vector<Column>();
  return *columns_;
}

Column& Table::ColumnNamed(const std::string& name) { return *FindNamed(Columns(), name); }

void Table::Name(const std::string& name) {
  if (link_) {
    link_->Provider().RenameTable(name_, name);
    link_->renamed = true;
    columns_.reset();
    indexes_.reset();
    keys_.reset();
  }
  name_ = name;
}

void Table::DeleteColumn(const std::string& name) {
  const auto found = FindNamed(Columns(), name);
  if (!link_) {
    columns_->erase(found);
    return;
  }
  link_->Provider().DeleteColumn(name_, std::string(found->name));
  columns_.reset();
  indexes_.reset();
  keys_.reset();
}

void Table::DeleteIndex(const std::string& name) {
  const auto found = FindNamed(Indexes(), name);
  if (!link_) {
    indexes_->erase(found);
    return;
  }
  link_->Provider().DeleteIndex(name_, std::string(found->name));
  indexes_.reset();
  keys_.reset();
}

std::vector<Key>& Table::Keys() {
  if (!keys_) keys_ = link_ ? link_->Provider().Keys(name_) : std::vector<Key>();
  return *keys_;
}

void Table::AppendKey(const Key& key) {
  RequireWhole(key);
  const std::string upper = runtime::UpperCase(key.name);
  if (std::any_of(Keys().begin(), Keys().end(), [&](const Key& held) { return runtime::UpperCase(held.name) == upper; })) {
    throw AdoError(runtime::kObjectInCollection, key.name);
  }
  if (!link_) {
    keys_->push_back(key);
    return;
  }
  ProviderCatalog& provider = link_->Provider();
  provider.AppendKey(name_, Resolved(key, name_, Columns(), provider));
  columns_.reset();  // those of a primary key are required from now on
  indexes_.reset();
  keys_.reset();
}

void Table::DeleteKey(const std::string& name) {
  const auto found = FindNamed(Keys(), name);
  if (!link_) {
    keys_->erase(found);
    return;
  }
  link_->Provider().DeleteKey(name_, Key(*found));
  columns_.reset();
  indexes_.reset();
  keys_.reset();
}

std::vector<Index>& Table::Indexes() {
  if (!indexes_) indexes_ = link_ ? link_->Provider().Indexes(name_) : std::vector<Index>();
  return *indexes_;
}

Variant Table::Property(const std::string& name) { return Properties().Item(name); }

void Table::Property(const std::string& name, const Variant& value) {
  if (link_) throw AdoError(runtime::kOperationNotSupported, name);
  if (!properties_) properties_.emplace();
  properties_->Set(name, value);
}

const PropertyMap& Table::Properties() {
  if (!properties_) properties_ = link_ ? link_->Provider().Properties(name_) : PropertyMap();
  return *properties_;
}

void Table::AppendColumn(const Column& column) {
  if (!link_) {
    Columns().push_back(column);
    return;
  }
  link_->Provider().AppendColumn(name_, column);
  columns_.reset();
}

void Table::AppendIndex(const ado::Index& index) {
  if (!link_) {
    Indexes().push_back(index);
    return;
  }
  link_->Provider().AppendIndex(name_, index);
  indexes_.reset();
  keys_.reset();
}

Catalog::Catalog(Connection& connection) : link_(std::make_shared<CatalogLink>(connection.state_)) {}
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
  ProviderCatalog& provider = link_->Provider();
  std::vector<Key> keys;
  // What a table of another database refers to need not be here: the copy of such a one has its columns and indexes.
  if (!copy.link_) {
    for (const Key& key : copy.Keys()) keys.push_back(Resolved(key, copy.Name(), copy.Columns(), provider));
  }
  copy.keys_ = std::move(keys);
  provider.AppendTable(copy);
  Refresh();
}

std::vector<View> Catalog::Views() { return link_->Provider().Views(); }

void Catalog::AppendView(const std::string& name, const std::string& command) {
  ProviderCatalog& provider = link_->Provider();
  if (IsBlank(name) || IsBlank(command)) throw AdoError(runtime::kBadArguments, name);
  std::vector<std::string> taken;
  for (auto& [table, type] : provider.Tables()) taken.push_back(std::move(table));
  if (MeantName(taken, name) != nullptr) throw AdoError(runtime::kObjectInCollection, name);
  provider.AppendView(name, command);
  Refresh();
}

void Catalog::DeleteView(const std::string& name) {
  ProviderCatalog& provider = link_->Provider();
  std::vector<std::string> names;
  for (View& view : provider.Views()) names.push_back(std::move(view.name));
  const std::string* meant = MeantName(names, name);
  if (meant == nullptr) throw AdoError(runtime::kItemNotFound, name);
  provider.DeleteView(*meant);
  Refresh();
}

void Catalog::Create(const std::string& connectionString) {
  OpenRequest request;
  request.provider = ConnectionState().provider;
  request.connectionString = connectionString;
  const runtime::WipedAtEnd wipe(request.password);
  const runtime::WipedAtEnd wipeString(request.connectionString);
  ReadProviderKey(request);
  const DatabaseCreator& create = FindCreator(request.provider);
  if (!create) throw AdoError(runtime::kOperationNotSupported, request.provider);
  create(request);
}

void Catalog::Delete(const std::string& name) {
  link_->Provider().DeleteTable(std::string(Tables(name).Name()));
  Refresh();
}

void Catalog::Refresh() {
  loaded_ = false;
  byName_.clear();
  tables_.clear();
  link_->Provider().Forget();
}

void Catalog::Load() {
  if (std::exchange(link_->renamed, false)) {
    byName_.clear();
    for (const auto& table : tables_) byName_.emplace(runtime::UpperCase(table->Name()), table.get());
  }
  if (loaded_) return;
  std::vector<std::unique_ptr<Table>> tables;
  std::map<std::string, Table*> byName;
  for (auto& [name, type] : link_->Provider().Tables()) {
    tables.push_back(std::make_unique<Table>(std::move(name), std::move(type), link_));
    byName.emplace(runtime::UpperCase(tables.back()->Name()), tables.back().get());
  }
  tables_ = std::move(tables);
  byName_ = std::move(byName);
  loaded_ = true;
}

}  // namespace tamlo::ado
