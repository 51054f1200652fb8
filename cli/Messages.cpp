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
    Text{Said::kImport, "Rows of a text file into a table, all or none",
         "Les lignes d'un fichier de texte dans une table, toutes ou aucune"},
    Text{Said::kIntoTable, "Table that takes the rows", "Table qui reçoit les lignes"},
    Text{Said::kTextFile, "File of rows; its first line, or the names in it, say for which columns",
         "Fichier des lignes ; sa première ligne, ou les noms qu'il contient, disent pour quelles colonnes"},
    Text{Said::kCreate, "Make the table, with types that are found in the file", "Crée la table, avec des types trouvés dans le fichier"},
    Text{
        Said::kTypes,
        "Types for --create: NAME=TYPE,NAME=TYPE with boolean, byte, integer, long, counter, single, double, currency, "
        "decimal(p,s), date, text(n), memo, binary(n), ole, guid",
        "Types pour --create : NOM=TYPE,NOM=TYPE avec boolean, byte, integer, long, counter, single, double, currency, decimal(p,s), date, "
        "text(n), memo, binary(n), ole, guid"},
    Text{Said::kMap, "Other names for the file's columns: HEADER=COLUMN,HEADER=COLUMN",
         "Autres noms des colonnes du fichier : ENTETE=COLONNE,ENTETE=COLONNE"},
    Text{Said::kImportFormat, "csv, tsv or jsonl; else by the end of the file's name",
         "csv, tsv ou jsonl ; sinon d'après la fin du nom du fichier"},
    Text{Said::kDelimiter, "The sign between values", "Le signe entre les valeurs"},
    Text{Said::kEncoding, "utf-8, utf-16, utf-16le, utf-16be, latin1 or windows-1250 to windows-1258",
         "utf-8, utf-16, utf-16le, utf-16be, latin1 ou windows-1250 à windows-1258"},
    Text{Said::kDateFormat, "Days and times, with %Y %y %m %d %H %M %S and %f for milliseconds",
         "Jours et heures, avec %Y %y %m %d %H %M %S et %f pour les millisecondes"},
    Text{Said::kUnknownEncoding, "%1 is no encoding that is known here", "%1 n'est pas un codage connu ici"},
    Text{Said::kNotOfEncoding, "%1, line %2: bytes that are no %3; --encoding names another",
         "%1, ligne %2 : des octets qui ne sont pas du %3 ; --encoding en nomme un autre"},
    Text{Said::kEmptyFile, "%1 holds nothing", "%1 ne contient rien"},
    Text{Said::kRagged, "%1 values where the header has %2", "%1 valeurs où l'en-tête en a %2"},
    Text{Said::kBehindQuote, "something stands behind the quote that ends value %1",
         "quelque chose suit le guillemet qui finit la valeur %1"},
    Text{Said::kOpenQuote, "a quote that does not end", "un guillemet qui ne finit pas"},
    Text{Said::kQuoteInside, "a quote in the middle of a value: %1", "un guillemet au milieu d'une valeur : %1"},
    Text{Said::kAtLine, "%1, line %2: %3", "%1, ligne %2 : %3"},
    Text{Said::kNoObject, "no object of plain values", "ce n'est pas un objet de valeurs simples"},
    Text{Said::kOneSign, "--delimiter wants one sign of ASCII, not %1", "--delimiter attend un signe ASCII, pas %1"},
    Text{Said::kTypesNeedCreate, "--types is for --create", "--types va avec --create"},
    Text{Said::kMapWants, "--map wants HEADER=COLUMN, not %1", "--map attend ENTETE=COLONNE, pas %1"},
    Text{Said::kNoHeader, "%1 has no column %2", "%1 n'a pas de colonne %2"},
    Text{Said::kTwiceNamed, "%1 has two columns %2", "%1 a deux colonnes %2"},
    Text{Said::kNoColumnForHeader, "the table %1 has no column %2, which %3 has: --map HEADER=COLUMN names another",
         "la table %1 n'a pas de colonne %2, que %3 a : --map ENTETE=COLONNE en nomme une autre"},
    Text{Said::kNoValueOf, "column %1: %2 is no value of the type %3", "colonne %1 : %2 n'est pas une valeur du type %3"},
    Text{Said::kTooLong, "column %1: %2 is longer than %3 characters", "colonne %1 : %2 a plus de %3 caractères"},
    Text{Said::kUnknownType, "%1 names no type", "%1 ne nomme pas de type"},
    Text{Said::kDiagram, "The tables and relations as a picture", "Les tables et relations en image"},
    Text{Said::kPicture, "File to be made: NAME.svg (needs Graphviz), NAME.dot or NAME.mmd (Mermaid)",
         "Fichier à créer : NOM.svg (demande Graphviz), NOM.dot ou NOM.mmd (Mermaid)"},
    Text{Said::kUnknownPicture, "%1 ends neither in .svg nor in .dot nor in .mmd", "%1 ne finit ni par .svg, ni par .dot, ni par .mmd"},
    Text{Said::kNoGraphviz, "Graphviz's program dot is not here: install graphviz, or ask for a .dot or .mmd file",
         "le programme dot de Graphviz n'est pas là : installez graphviz, ou demandez un fichier .dot ou .mmd"},
    Text{Said::kGraphvizFailed, "Graphviz's program dot ended with status %1", "le programme dot de Graphviz a fini avec le code %1"},
    Text{Said::kAssess, "What a move to an engine would lose, before it", "Ce qu'un passage à un moteur perdrait, avant de le faire"},
    Text{Said::kReportFile, "The same as a page NAME.html to read and send, or NAME.json for programs",
         "Le même en page NOM.html à lire et envoyer, ou NOM.json pour des programmes"},
    Text{Said::kUnknownReport, "%1 ends neither in .html nor in .json", "%1 ne finit ni par .html, ni par .json"},
    Text{Said::kAssessTitle, "%1 to %2", "%1 vers %2"},
    Text{Said::kAssessTotal, "%1 tables, %2 rows, %3 bytes of values", "%1 tables, %2 lignes, %3 octets de valeurs"},
    Text{Said::kLosesNothing, "Nothing would be lost.", "Rien ne serait perdu."},
    Text{Said::kLoses, "Would be lost: %1 points of the definitions, %2 kinds of values.",
         "Seraient perdus : %1 points des définitions, %2 sortes de valeurs."},
    Text{Said::kRenamed, "%1 would be called %2", "%1 s'appellerait %2"},
    Text{Said::kSighting, "%1; rows: %2, first: %3", "%1 ; lignes : %2, la première : %3"},
    Text{Said::kQueryStays, "the stored query %1 stays behind", "la requête enregistrée %1 n'est pas reprise"},
    Text{Said::kLinkStays, "the link %1 to %2 stays behind", "le lien %1 vers %2 n'est pas repris"},
    Text{Said::kHeadFindings, "Definitions", "Définitions"},
    Text{Said::kHeadValues, "Values", "Valeurs"},
    Text{Said::kHeadRenamed, "Other names", "Autres noms"},
    Text{Said::kHeadPlace, "Where", "Où"},
    Text{Said::kHeadWhat, "What would be lost", "Ce qui serait perdu"},
    Text{Said::kHeadExample, "First", "Première"},
    Text{Said::kHeadName, "Name", "Nom"},
    Text{Said::kHeadNewName, "Name there", "Nom là-bas"},
    Text{Said::kLossFiner, "moments finer than milliseconds would be rounded",
         "des instants plus fins que la milliseconde seraient arrondis"},
    Text{Said::kLossNoDay, "numbers that are no day of the years 100 to 9999", "des nombres qui ne sont aucun jour des années 100 à 9999"},
    Text{Said::kLossNaN, "%1 has no value that is not a number (NaN)", "%1 n'a pas de valeur qui ne soit pas un nombre (NaN)"},
    Text{Said::kLossInfinity, "%1 has no infinite numbers", "%1 n'a pas de nombres infinis"},
    Text{Said::kLossZero, "-0 would become 0", "-0 deviendrait 0"},
    Text{Said::kLossNul, "%1 cannot hold the character NUL in a text", "%1 ne peut tenir le caractère NUL dans un texte"},
    Text{Said::kLossEmpty, "an empty text is null on %1", "un texte vide est nul sur %1"},
    Text{Said::kLossEqual, "texts of a unique index are equal on %1", "des textes d'un index unique sont égaux sur %1"},
    Text{Said::kLossParent, "texts refer to a text that differs in case or blanks, which %1 tells apart",
         "des textes renvoient à un texte qui diffère par la casse ou des blancs, que %1 distingue"},
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
