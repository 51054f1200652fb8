#include "tests/schema/Engine.h"

#include <filesystem>

#include "providers/Fournisseurs.h"

namespace tamlo::tests {

Engine::Engine(const std::string& name) : name_(name) {
  providers::EnregistreFournisseurs();
  if (name == "mariadb") maria_ = std::make_unique<MariaDbServer>();
  if (name == "postgresql") postgres_ = std::make_unique<PostgresServer>();
}

void Engine::Empty() {
  if (maria_) Client("SET FOREIGN_KEY_CHECKS=0; DROP DATABASE tamlo; CREATE DATABASE tamlo CHARACTER SET utf8mb4;");
  if (postgres_) Client("SET client_min_messages=error; DROP SCHEMA public CASCADE; CREATE SCHEMA public;");
  if (name_ == "sqlite") std::filesystem::remove(folder_.File("base.sqlite"));
}

Ran Engine::Client(const std::string& sql) {
  std::string line = "sqlite3 -bail " + Word(folder_.File("base.sqlite"));
  if (maria_)
    line = "mariadb --batch --skip-column-names --default-character-set=utf8mb4 -S " + Word(maria_->Socket()) + " -u tamlo -ptamlo tamlo";
  if (postgres_) line = "env PGPASSWORD=tamlo psql -qAtX -v ON_ERROR_STOP=1 -h " + Word(postgres_->Folder()) + " -U tamlo tamlo";
  return RunLine(folder_, line, sql);
}

std::string Engine::Url() const {
  if (maria_) return "mariadb://tamlo@localhost/tamlo?socket=" + maria_->Socket();
  if (postgres_) return "postgresql://tamlo@/tamlo?host=" + postgres_->Folder();
  return folder_.File("base.sqlite");
}

std::unique_ptr<ado::Connection> Engine::Connect() const {
  const schema::Address address = schema::ReadAddress(Url());
  auto connection = std::make_unique<ado::Connection>();
  connection->Provider(address.provider);
  connection->Open(schema::StreamingConnection(address), address.user, address.file.empty() ? "tamlo" : "");
  return connection;
}

}  // namespace tamlo::tests
