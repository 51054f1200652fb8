#include "cli/Messages.h"

#include <array>
#include <utility>

#include "cli/System.h"

namespace tamlo::cli {
namespace {

struct Text {
  Said what;
  std::string_view english;
  std::string_view french;
};

constexpr std::array kTexts{
    Text{Said::kAbout, "Looks after whole databases: what is there, rows out of them, their definitions, their soundness.",
         "S'occupe de bases entières : ce qu'elles contiennent, leurs lignes, leurs définitions, leur état."},
    Text{Said::kHelp, "Print this help", "Affiche cette aide"},
    Text{Said::kVersion, "Print the version", "Affiche la version"},
    Text{Said::kInfo, "What the file is and how much it holds", "Ce qu'est le fichier et ce qu'il contient"},
    Text{Said::kTables, "The tables, with the number of their rows", "Les tables, avec leur nombre de lignes"},
    Text{Said::kSchema, "The statements that make the tables, indexes and relations on an engine",
         "Les instructions qui créent tables, index et relations sur un moteur"},
    Text{Said::kQueries, "The stored queries and their texts", "Les requêtes enregistrées et leur texte"},
    Text{Said::kRelations, "The relations between the tables", "Les relations entre les tables"},
    Text{Said::kQuery, "The rows of a query", "Les lignes d'une requête"},
    Text{Said::kExport, "The rows of tables", "Les lignes de tables"},
    Text{Said::kExec, "Runs statements in one transaction, all or none", "Exécute des instructions en une transaction, toutes ou aucune"},
    Text{Said::kCheck, "Compares everything in an Access file with everything", "Compare tout avec tout dans un fichier Access"},
    Text{Said::kCompact, "Writes an Access file anew without unused space", "Réécrit un fichier Access sans place perdue"},
    Text{Said::kBackup, "Copies an Access file as it is at one moment, while others use it",
         "Copie un fichier Access tel qu'il est à un instant, pendant que d'autres s'en servent"},
    Text{Said::kDatabase, "The database: a file of Access or SQLite, mariadb://..., postgresql://... or odbc:...",
         "La base : un fichier Access ou SQLite, mariadb://..., postgresql://... ou odbc:..."},
    Text{Said::kTarget, "Engine: mariadb, postgresql, sqlite, sqlserver, oracle or access",
         "Moteur : mariadb, postgresql, sqlite, sqlserver, oracle ou access"},
    Text{Said::kStatement, "A statement in the database's own SQL", "Une instruction dans le SQL de la base"},
    Text{Said::kStatementFile, "File that holds the statement", "Fichier qui contient l'instruction"},
    Text{Said::kTablePattern, "Table; * and ? stand for any characters. May be given again",
         "Table ; * et ? tiennent lieu de caractères. Répétable"},
    Text{Said::kAllTables, "All tables", "Toutes les tables"},
    Text{Said::kColumns, "Columns, with commas between them", "Colonnes, séparées par des virgules"},
    Text{Said::kWhere, "Condition on the rows", "Condition sur les lignes"},
    Text{Said::kOrderBy, "Order of the rows", "Ordre des lignes"},
    Text{Said::kLimit, "So many rows at most", "Tant de lignes au plus"},
    Text{Said::kFormat, "csv, tsv, json, jsonl, sql or table", "csv, tsv, json, jsonl, sql ou table"},
    Text{Said::kFolder, "Folder for one file a table; else standard output", "Dossier, un fichier par table ; sinon la sortie standard"},
    Text{Said::kNullText, "What stands for a null value", "Ce qui tient lieu de valeur nulle"},
    Text{Said::kTruthTexts, "The two words for true and false, such as yes,no", "Les deux mots pour vrai et faux, comme oui,non"},
    Text{Said::kBinaryForm, "Bytes as hex or base64", "Octets en hex ou base64"},
    Text{Said::kNewFile, "File to be made; it must not exist", "Fichier à créer ; il ne doit pas exister"},
    Text{Said::kCannotOpen, "cannot open %1: %2", "impossible d'ouvrir %1 : %2"},
    Text{Said::kNoFile, "there is no such file", "il n'y a pas de tel fichier"},
    Text{Said::kUnknownEngine, "%1 is no engine: mariadb, postgresql, sqlite, sqlserver, oracle, access",
         "%1 n'est pas un moteur : mariadb, postgresql, sqlite, sqlserver, oracle, access"},
    Text{Said::kNoSuchTable, "there is no table %1", "il n'y a pas de table %1"},
    Text{Said::kNoTableMatches, "no table is called %1", "aucune table ne s'appelle %1"},
    Text{Said::kOneTable, "%1 tables on standard output can only be json, jsonl or sql: name a folder with -o",
         "%1 tables sur la sortie standard ne peuvent être qu'en json, jsonl ou sql : nommez un dossier avec -o"},
    Text{Said::kNoColumn, "the table %1 has no column %2", "la table %1 n'a pas de colonne %2"},
    Text{Said::kTwoWords, "--bool wants two words with a comma between them, not %1",
         "--bool attend deux mots séparés par une virgule, pas %1"},
    Text{Said::kNoStatement, "no statement is given", "aucune instruction n'est donnée"},
    Text{Said::kCannotRead, "cannot read %1", "impossible de lire %1"},
    Text{Said::kCannotWrite, "cannot write %1: %2", "impossible d'écrire %1 : %2"},
    Text{Said::kExistsAlready, "%1 exists already", "%1 existe déjà"},
    Text{Said::kSound, "%1 is sound", "%1 est en bon état"},
    Text{Said::kFindings, "%1: %2 findings", "%1 : %2 anomalies"},
    Text{Said::kRowsAffected, "%1 rows", "%1 lignes"},
    Text{Said::kOnlyAccess, "%1 is no Access file, which this command is for",
         "%1 n'est pas un fichier Access, seul objet de cette commande"},
    Text{Said::kPasswordFile, "File whose first line is the password", "Fichier dont la première ligne est le mot de passe"},
    Text{Said::kPasswordOf, "Password for %1:", "Mot de passe pour %1 :"},
    Text{Said::kPasswordInside, "a password has no place on the command line: use --password-file, TAMLO_DB_PASSWORD, or be asked",
         "un mot de passe n'a pas sa place sur la ligne de commande : --password-file, TAMLO_DB_PASSWORD, ou répondez à la question"},
    Text{Said::kUnknownScheme, "%1:// is not known; there are mariadb://, mysql://, postgresql://, postgres://, odbc: and files",
         "%1:// n'est pas connu ; il y a mariadb://, mysql://, postgresql://, postgres://, odbc: et les fichiers"},
    Text{Said::kUnknownOption, "the option %1 is not known", "l'option %1 n'est pas connue"},
    Text{Said::kBadEscape, "%1 stands for no sign: a percent sign is written %25", "%1 ne code aucun signe : un pour cent s'écrit %25"},
    Text{Said::kBadPort, "%1 is no port", "%1 n'est pas un port"},
    Text{Said::kNoDatabase, "the name of a database is missing behind the server", "il manque le nom d'une base derrière le serveur"},
    Text{Said::kBadFileName, "its driver cannot take a name with \";\"", "son pilote ne prend pas un nom qui contient « ; »"},
    Text{Said::kNoName, "it has no name", "elle n'a pas de nom"},
    Text{Said::kNoDriver, "its driver is not installed (%1)", "son pilote n'est pas installé (%1)"},
    Text{Said::kLoginRefused, "user or password are refused (%1)", "l'utilisateur ou le mot de passe est refusé (%1)"},
    Text{Said::kNotADatabase, "it is no database, or an encrypted one", "ce n'est pas une base, ou elle est chiffrée"},
    Text{Said::kIsAFolder, "it is a folder", "c'est un dossier"},
    Text{Said::kRowOf, "table %1, row %2", "table %1, ligne %2"},
    Text{Said::kLabelFile, "File", "Fichier"},
    Text{Said::kLabelDatabase, "Database", "Base"},
    Text{Said::kLabelFormat, "Format", "Format"},
    Text{Said::kLabelTables, "Tables", "Tables"},
    Text{Said::kLabelQueries, "Queries", "Requêtes"},
    Text{Said::kLabelRelations, "Relations", "Relations"},
    Text{Said::kLabelLinks, "Links", "Liens"},
    Text{Said::kLabelRows, "Rows", "Lignes"},
    Text{Said::kLabelSize, "Bytes", "Octets"},
    Text{Said::kCancelled, "cancelled", "interrompu"},
    Text{Said::kCompare, "What differs between two databases, structure and rows, in words",
         "Ce qui diffère entre deux bases, structure et lignes, en toutes lettres"},
    Text{Said::kCompareStructure, "Compare tables, columns, keys and relations, and no rows",
         "Compare les tables, les colonnes, les clés et les relations, sans les lignes"},
    Text{Said::kCompareRows, "Compare rows alone", "Compare les lignes seules"},
    Text{Said::kShownRows, "How many differing rows of each table are shown", "Nombre de lignes différentes montrées pour chaque table"},
    Text{Said::kRowsDiffer, "%1: %2 rows in %3, %4 in %5; %6 of the first and %7 of the second have no equal",
         "%1 : %2 lignes dans %3, %4 dans %5 ; %6 de la première et %7 de la seconde sont sans égale"},
    Text{Said::kAreEqual, "%1 and %2 are equal: %3 tables, %4 rows", "%1 et %2 sont égales : %3 tables, %4 lignes"},
};

}  // namespace

bool SpeaksFrench() {
  for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"})
    if (const auto value = Variable(name)) return value->starts_with("fr");
  return SystemSpeaksFrench();
}

std::string Say(Said what, std::initializer_list<std::string_view> arguments) {
  std::string text;
  for (const Text& known : kTexts)
    if (known.what == what) text = SpeaksFrench() ? known.french : known.english;
  std::size_t from = 0;
  for (auto at = text.find('%', from); at != std::string::npos && at + 1 < text.size(); at = text.find('%', from)) {
    const auto place = static_cast<std::size_t>(text[at + 1] - '1');
    if (place >= arguments.size()) {
      from = at + 1;
      continue;
    }
    const std::string_view argument = arguments.begin()[place];
    text.replace(at, 2, argument);
    from = at + argument.size();
  }
  return text;
}

}  // namespace tamlo::cli
