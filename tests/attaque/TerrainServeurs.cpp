// The kinds whose reader is given statements: mariadb, sqlite3, psql.
#include <fstream>
#include <sstream>

#include "runtime/Text.h"
#include "tests/attaque/Lecteur.h"
#include "tests/support_lib/GaleraCluster.h"
#include "tests/support_lib/MariaDbServer.h"
#include "tests/support_lib/PostgresServer.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace tamlo::attaque {

namespace {

std::vector<std::string> Coupe(const std::string& ligne) {
  std::vector<std::string> parties;
  std::istringstream flux(ligne);
  for (std::string partie; std::getline(flux, partie, '|');) parties.push_back(partie);
  return parties;
}

/// Readers that are given statements and answer lines: "#T|hex", "#C|hex|hex", "#R|number of the table|cells", "#F", "#I", "#K" the catalog's rows.
class ParRequetes : public Terrain {
 public:
  [[nodiscard]] Lecture Lit(const std::string& base, const Etat& attendu) override {
    std::string script = Tables();
    std::vector<const std::pair<const std::string, TableModele>*> liste;
    for (const auto& entree : attendu.tables) {
      std::string cellules;
      for (const Colonne& colonne : entree.second.colonnes) cellules += "," + Cellule16(colonne);
      script += "SELECT " + Joint("'#R','" + std::to_string(liste.size()) + "'" + cellules) + " FROM " + Cite(entree.first) + ";\n";
      liste.push_back(&entree);
    }
    if (Catalogue()) script += RangeesCatalogue();
    const std::string fichier = dossier_.File("script.sql");
    std::ofstream(fichier) << script;
    Lecture lue;
    std::istringstream lignes(Lance(Commande(base) + " < " + PourShell(fichier) + " 2>&1"));
    for (std::string ligne; std::getline(lignes, ligne);) {
      const auto parties = Coupe(ligne);
      if (parties.empty()) continue;
      if (parties[0] == "#T" && parties.size() == 2 && !EstInterne(DeHexa(parties[1]))) {
        lue.colonnes[runtime::UpperCase(DeHexa(parties[1]))];
      } else if (parties[0] == "#C" && parties.size() == 3 && !EstInterne(DeHexa(parties[1]))) {
        lue.colonnes[runtime::UpperCase(DeHexa(parties[1]))].push_back(runtime::UpperCase(DeHexa(parties[2])));
      } else if (parties[0] == "#R" && parties.size() >= 3) {
        const auto& entree = *liste.at(static_cast<std::size_t>(std::stoi(parties[1])));
        std::vector<std::string> dites(parties.begin() + 2, parties.end());
        dites.resize(entree.second.colonnes.size());
        Range(lue, entree.first, entree.second, dites);
      } else if (parties[0] == "#F" && parties.size() == 4) {
        auto& champs = lue.champs[DeHexa(parties[1])];
        if (!champs.emplace(std::stoi(parties[2]), runtime::UpperCase(DeHexa(parties[3]))).second)
          lue.defauts += "two fields of one number\n";
      } else if (parties[0] == "#I" && parties.size() == 4) {
        lue.index[DeHexa(parties[1])][DeHexa(parties[2])] = runtime::UpperCase(DeHexa(parties[3]));
      } else if (parties[0] == "#K" && parties.size() == 2) {
        lue.tables.push_back(DeHexa(parties[1]));
      } else if (parties[0].front() != '#') {
        lue.defauts += "the reader says " + ligne.substr(0, 300) + "\n";
      }
    }
    return lue;
  }

 protected:
  [[nodiscard]] virtual std::string Tables() const = 0;
  [[nodiscard]] virtual std::string RangeesCatalogue() const { return {}; }
  [[nodiscard]] virtual std::string Cellule16(const Colonne& colonne) const = 0;
  [[nodiscard]] virtual std::string Joint(const std::string& liste) const { return "CONCAT_WS('|'," + liste + ")"; }
  [[nodiscard]] virtual std::string Cite(const std::string& nom) const = 0;
  [[nodiscard]] virtual std::string Commande(const std::string& base) const = 0;
  tests::TemporaryFolder dossier_;
};

class MariaDb : public ParRequetes {
 public:
  [[nodiscard]] std::string Nom() const override { return "MariaDb"; }
  [[nodiscard]] std::int16_t Kind() const override { return db::TypMySql; }
  [[nodiscard]] bool StructureEnTransaction() const override { return false; }
  [[nodiscard]] bool EstServeur() const override { return true; }
  [[nodiscard]] Particularites Traits() const override {
    Particularites traits;
    traits.blancsFinaux = false;
    return traits;
  }
  [[nodiscard]] std::string BaseVide() override {
    if (!serveur_) serveur_ = std::make_unique<tests::MariaDbServer>();
    const std::string base = "h" + std::to_string(++bases_);
    (void)Lance("mariadb --no-defaults -S " + serveur_->Socket() + " -u tamlo -ptamlo -e 'CREATE DATABASE " + base + "'");
    return serveur_->ConnectionString(base);
  }
  void Tue() override { serveur_->Kill(); }
  void Releve() override { serveur_->Restart(); }

 private:
  [[nodiscard]] std::string Commande(const std::string& base) const override {
    return "mariadb --no-defaults -N -B -r --force --default-character-set=utf8mb4 -S " + Apres(base, "SOCKET=") + " -u tamlo -ptamlo " +
           Apres(base, "DATABASE=");
  }
  [[nodiscard]] std::string Cite(const std::string& nom) const override { return Double(nom, '`'); }
  [[nodiscard]] std::string Tables() const override {
    return "SELECT CONCAT('#T|',HEX(table_name)) FROM information_schema.tables WHERE table_schema=DATABASE();\n"
           "SELECT CONCAT('#C|',HEX(table_name),'|',HEX(column_name)) FROM information_schema.columns WHERE table_schema=DATABASE() ORDER BY "
           "table_name, ordinal_position;\n";
  }
  [[nodiscard]] std::string RangeesCatalogue() const override {
    return "SELECT CONCAT('#F|',HEX(`TABLE`),'|',`NO`,'|',HEX(`NOM`)) FROM `$FLDKORV$`;\n"
           "SELECT CONCAT('#I|',HEX(`TABLE`),'|',HEX(`NOM`),'|',HEX(`CHAMPS`)) FROM `$IDXKORV$`;\n"
           "SELECT CONCAT('#K|',HEX(`NOM`)) FROM `$TBLKORV$`;\n";
  }
  [[nodiscard]] std::string Cellule16(const Colonne& colonne) const override {
    const std::string nom = Cite(colonne.nom);
    std::string texte = "CAST(" + nom + " AS CHAR)";
    if (EstTexte(colonne.typ) || colonne.typ == ado::adLongVarBinary) texte = "HEX(" + nom + ")";
    if (colonne.typ == ado::adSingle) texte = "CAST(CAST(" + nom + " AS DOUBLE) AS CHAR)";
    return "IFNULL(" + texte + ",'N')";
  }
  std::unique_ptr<tests::MariaDbServer> serveur_;
  int bases_ = 0;
};

/// Three nodes of a Galera cluster: each opening goes to the next one, the reader to the last. Reads wait for what the others have committed.
class Amas final : public MariaDb {
 public:
  [[nodiscard]] std::string Nom() const override { return "Amas"; }
  [[nodiscard]] std::string BaseVide() override {
    if (!amas_) amas_ = std::make_unique<tests::GaleraCluster>();
    const std::string base = "h" + std::to_string(++bases_);
    (void)amas_->Client(1, "CREATE DATABASE " + base);
    // The other nodes have it a moment later: whoever waits for what was committed has it then.
    for (int noeud : {2, 3}) (void)amas_->Client(noeud, "SET SESSION wsrep_sync_wait = 15; SELECT 1");
    return base;
  }
  [[nodiscard]] std::string Acces(const std::string& base) const override {
    std::string chaine = amas_->ConnectionString(++noeud_ % 3 + 1);
    chaine.replace(chaine.find("DATABASE=tamlo"), 14, "DATABASE=" + base);
    return chaine + ";INITSTMT={SET SESSION wsrep_sync_wait=15}";
  }
  void Tue() override {}
  void Releve() override {}

 private:
  [[nodiscard]] std::string Commande(const std::string& base) const override {
    return "mariadb --no-defaults -N -B -r --force --default-character-set=utf8mb4 -h 127.0.0.1 -P " + amas_->Port(3) +
           " -u tamlo -ptamlo --init-command='SET SESSION wsrep_sync_wait=15' " + base;
  }
  std::unique_ptr<tests::GaleraCluster> amas_;
  int bases_ = 0;
  mutable int noeud_ = 0;
};

class Sqlite final : public ParRequetes {
 public:
  [[nodiscard]] std::string Nom() const override { return "Sqlite"; }
  [[nodiscard]] std::int16_t Kind() const override { return db::TypOdbc; }
  [[nodiscard]] bool Catalogue() const override { return false; }
  [[nodiscard]] Particularites Traits() const override {
    Particularites traits;
    traits.litterauxDate = false;
    return traits;
  }
  // The driver (0.9998) ends a statement at a semicolon, wherever it stands.
  [[nodiscard]] bool Prend(const std::string& nom) const override { return nom.find(';') == std::string::npos; }
  [[nodiscard]] std::string BaseVide() override {
    return "DRIVER=SQLite3;Database=" + dossier_.File("h" + std::to_string(++bases_) + ".db");
  }
  [[nodiscard]] std::string TypeBrut(const Colonne& colonne) const override {
    return tests::BackendNomme("Sqlite").TypeBrut(colonne.typ, colonne.lg);
  }

 private:
  [[nodiscard]] std::string Commande(const std::string& base) const override {
    return "sqlite3 -batch -noheader " + PourShell(Apres(base, "Database="));
  }
  [[nodiscard]] std::string Cite(const std::string& nom) const override { return Double(nom, '"'); }
  [[nodiscard]] std::string Joint(const std::string& liste) const override {
    std::string joint;
    int profondeur = 0;
    bool texte = false;
    for (const char c : liste) {
      if (c == '\'') texte = !texte;
      if (!texte) profondeur += c == '(' ? 1 : c == ')' ? -1 : 0;
      if (c == ',' && profondeur == 0 && !texte)
        joint += "||'|'||";
      else
        joint += c;
    }
    return joint;
  }
  [[nodiscard]] std::string Tables() const override {
    return "SELECT '#T|'||hex(name) FROM sqlite_master WHERE type='table';\n"
           "SELECT '#C|'||hex(m.name)||'|'||hex(p.name) FROM sqlite_master m, pragma_table_info(m.name) p WHERE m.type='table' ORDER BY m.name, p.cid;\n";
  }
  [[nodiscard]] std::string Cellule16(const Colonne& colonne) const override {
    const std::string nom = Cite(colonne.nom);
    std::string texte =
        "CASE WHEN typeof(" + nom + ") IN ('integer','real') THEN '~'||hex(ieee754_to_blob(" + nom + ")) ELSE '!'||hex(" + nom + ") END";
    if (EstTexte(colonne.typ) || colonne.typ == ado::adLongVarBinary || colonne.typ == ado::adDate)
      texte = "hex(CAST(" + nom + " AS BLOB))";
    return "(CASE WHEN " + nom + " IS NULL THEN 'N' ELSE " + texte + " END)";
  }
  int bases_ = 0;
};

class Postgres final : public ParRequetes {
 public:
  [[nodiscard]] std::string Nom() const override { return "Postgres"; }
  [[nodiscard]] std::int16_t Kind() const override { return db::TypOdbc; }
  [[nodiscard]] bool Catalogue() const override { return false; }
  [[nodiscard]] bool ConnaitChamps() const override { return false; }
  // A definition keeps every reader out until its transaction ends.
  [[nodiscard]] bool StructureEnTransaction() const override { return false; }
  [[nodiscard]] bool EstServeur() const override { return true; }
  [[nodiscard]] Particularites Traits() const override {
    Particularites traits;
    traits.litterauxTexte = false;
    traits.litterauxDate = false;
    traits.litterauxBooleens = false;
    return traits;
  }
  [[nodiscard]] std::string Entre(const std::string& nom) const override { return nom; }
  [[nodiscard]] bool Prend(const std::string& nom) const override {
    for (const char* simple : {"T1", "T2", "T_2", "C0", "C1"}) {
      if (nom == simple) return true;
    }
    return false;
  }
  [[nodiscard]] std::string BaseVide() override {
    if (!serveur_) serveur_ = std::make_unique<tests::PostgresServer>();
    const std::string base = "h" + std::to_string(++bases_);
    (void)Lance("env PGPASSWORD=tamlo psql -X -q -h " + serveur_->Folder() + " -U tamlo -d tamlo -c 'CREATE DATABASE " + base + "'");
    return serveur_->ConnectionString(base);
  }
  [[nodiscard]] std::string TypeBrut(const Colonne& colonne) const override {
    switch (colonne.typ) {
      case ado::adVarWChar:
        return "VARCHAR(" + std::to_string(colonne.lg) + ")";
      case ado::adLongVarWChar:
        return "TEXT";
      case ado::adDate:
        return "TIMESTAMP";
      case ado::adBoolean:
        return "BOOLEAN";
      case ado::adUnsignedTinyInt:
      case ado::adSmallInt:
        return "SMALLINT";
      case ado::adInteger:
        return "INTEGER";
      case ado::adSingle:
        return "REAL";
      case ado::adCurrency:
        return "NUMERIC(19,4)";
      case ado::adLongVarBinary:
        return "BYTEA";
      default:
        return "DOUBLE PRECISION";
    }
  }
  void Tue() override { serveur_->Kill(); }
  void Releve() override { serveur_->Restart(); }

 private:
  [[nodiscard]] std::string Commande(const std::string& base) const override {
    return "env PGPASSWORD=tamlo psql -X -q -A -t -h " + Apres(base, "SERVERNAME=") + " -U tamlo -d " + Apres(base, "DATABASE=");
  }
  [[nodiscard]] std::string Cite(const std::string& nom) const override { return runtime::LowerCase(nom); }
  [[nodiscard]] std::string Tables() const override {
    return "SELECT '#T|'||encode(convert_to(table_name,'UTF8'),'hex') FROM information_schema.tables WHERE table_schema='public';\n"
           "SELECT '#C|'||encode(convert_to(table_name,'UTF8'),'hex')||'|'||encode(convert_to(column_name,'UTF8'),'hex') FROM "
           "information_schema.columns WHERE table_schema='public' ORDER BY table_name, ordinal_position;\n";
  }
  [[nodiscard]] std::string Cellule16(const Colonne& colonne) const override {
    const std::string nom = Cite(colonne.nom);
    std::string texte = nom + "::text";
    if (EstTexte(colonne.typ)) texte = "encode(convert_to(" + nom + ",'UTF8'),'hex')";
    if (colonne.typ == ado::adLongVarBinary) texte = "encode(" + nom + ",'hex')";
    if (colonne.typ == ado::adSingle) texte = nom + "::double precision::text";
    if (colonne.typ == ado::adBoolean) texte = "(" + nom + "::int)::text";
    if (colonne.typ == ado::adDate) texte = "to_char(" + nom + ",'YYYY-MM-DD HH24:MI:SS')";
    return "COALESCE(" + texte + ",'N')";
  }
  std::unique_ptr<tests::PostgresServer> serveur_;
  int bases_ = 0;
};

}  // namespace

Terrain& TerrainMariaDb() {
  static MariaDb terrain;
  return terrain;
}
Terrain& TerrainAmas() {
  static Amas terrain;
  return terrain;
}
Terrain& TerrainSqlite() {
  static Sqlite terrain;
  return terrain;
}
Terrain& TerrainPostgres() {
  static Postgres terrain;
  return terrain;
}

}  // namespace tamlo::attaque
