#include "ado/jet/FrenchReason.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <vector>

#include "base/Captured.h"

namespace tamlo::ado::jetprovider {

namespace {

using base::Captured;

/// "*" stands for any text, which goes to the "*" of the same place in the French sentence.
struct Sentence {
  std::string_view english;
  std::string_view french;
};

constexpr Sentence kSentences[] = {
    // files
    {"Opening \"*\": no such file", "\"*\" n'existe pas"},
    {"Opening \"*\": No such file or directory", "\"*\" n'existe pas"},
    {"Opening \"*\": Permission denied", "l'accès à \"*\" est refusé"},
    {"Opening \"*\": not a file but a link", "\"*\" n'est pas un fichier mais un lien"},
    {"Opening \"*\": not a file", "\"*\" n'est pas un fichier"},
    {"Opening \"*\": there is a file of that name", "le fichier \"*\" existe"},
    {"There is a file \"*\" already", "le fichier \"*\" existe"},
    {"Somebody else has made a file \"*\" meanwhile", "un autre programme a créé le fichier \"*\" entre-temps"},
    {"\"*\" is not an Access file: it is empty", "\"*\" est vide"},
    {"\"*\" is not an Access file: it is a SQLite database", "\"*\" est une base SQLite"},
    {"\"*\" is not an Access file: it is a ZIP archive or a newer Office document", "\"*\" est une archive ZIP ou un document Office"},
    {"\"*\" is not an Access file: it is a PDF document", "\"*\" est un document PDF"},
    {"\"*\" is not an Access file: it is an older Office document", "\"*\" est un document Office"},
    {"\"*\" is not an Access file: it does not begin as one", "\"*\" ne commence pas comme un fichier Access"},
    {"\"*\" is an encrypted database of Access 2007 or later (.accdb), which this program was built without",
     "\"*\" est une base chiffrée d'Access 2007 ou plus récent (.accdb), que ce programme ne sait pas lire"},
    {"\"*\" is encrypted by a method that is not known (*)", "\"*\" est chiffrée par une méthode qui n'est pas connue (*)"},
    {"\"*\" is encrypted, and page 0 does not say how", "\"*\" est chiffrée, et la page 0 ne dit pas comment"},
    {"\"*\" is a database of a later Access than 2019, which is not supported",
     "\"*\" est une base d'un Access plus récent que 2019, qui n'est pas gérée"},
    {"\"*\" is a database of Access 2007 or later (.accdb): it cannot be compacted",
     "\"*\" est une base d'Access 2007 ou plus récent (.accdb) : elle ne peut pas être compactée"},
    {"\"*\" would be a database of Access 2007 or later (.accdb): a new one has no password and no encoded pages",
     "\"*\" serait une base d'Access 2007 ou plus récent (.accdb) : une nouvelle n'a ni mot de passe ni pages codées"},
    {"\"*\" is a database of Access 2007 or later (.accdb): its password cannot be changed",
     "\"*\" est une base d'Access 2007 ou plus récent (.accdb) : son mot de passe ne peut pas être changé"},
    {"\"*\" is a database of Access 2007 or later, which is not supported",
     "\"*\" est une base d'Access 2007 ou plus récent, qui n'est pas gérée"},
    {"\"*\" is cut short", "\"*\" est tronqué"},
    {"The database \"*\" can only be read", "la base \"*\" ne peut qu'être lue"},
    {"\"*\" is protected by a database password, and none was given", "\"*\" est protégé par un mot de passe, et aucun n'a été donné"},
    {"the password given for \"*\" is wrong", "le mot de passe donné pour \"*\" n'est pas le bon"},
    {"A database password has at most 20 characters", "un mot de passe de base de données a 20 caractères au plus"},
    {"A database password cannot hold the character NUL", "un mot de passe de base de données ne peut contenir le caractère NUL"},
    {"The password is no text in UTF-8", "le mot de passe n'est pas un texte en UTF-8"},
    // columns that Access alone fills (.accdb)
    {"The table \"*\" takes no rows: its column \"*\" is calculated, which Access alone does",
     "la table \"*\" n'admet pas d'enregistrement : sa colonne \"*\" est calculée, ce que seul Access sait faire"},
    {"The rows of the table \"*\" cannot be changed: its column \"*\" is calculated, which Access alone does",
     "les enregistrements de la table \"*\" ne peuvent pas être modifiés : sa colonne \"*\" est calculée, ce que seul Access sait faire"},
    {"The columns of the table \"*\" cannot be changed: its column \"*\" is calculated, which Access alone does",
     "les colonnes de la table \"*\" ne peuvent pas être modifiées : sa colonne \"*\" est calculée, ce que seul Access sait faire"},
    {"The column \"*\" is of a type that is not known: it is not written",
     "la colonne \"*\" est d'un type inconnu : elle n'est pas écrite"},
    {"The column \"*\" holds attachments or several values: they are not written",
     "la colonne \"*\" contient des pièces jointes ou plusieurs valeurs : elles ne sont pas écrites"},
    {"The column \"*\" keeps the history of its values: it is not written",
     "la colonne \"*\" garde l'historique de ses valeurs : elle n'est pas écrite"},
    {"The column \"*\" holds attachments or several values: Access alone makes, changes and drops such columns",
     "la colonne \"*\" contient des pièces jointes ou plusieurs valeurs : seul Access crée, modifie et supprime de telles colonnes"},
    {"The column \"*\" is of a table that keeps the history of its memos: it is not changed",
     "la colonne \"*\" est d'une table qui garde l'historique de ses mémos : elle n'est pas modifiée"},
    {"The column \"*\" is of a type that Access 2003 has not: it cannot become another",
     "la colonne \"*\" est d'un type qu'Access 2003 n'a pas : elle ne peut pas en changer"},
    // other users
    {"The database is being changed by another user", "un autre utilisateur modifie la base"},
    {"The database is being written by another user", "un autre utilisateur écrit dans la base"},
    {"\"*\" is being written by another user", "un autre utilisateur écrit dans \"*\""},
    {"\"*\" is opened by another user: exclusive use is not possible",
     "un autre utilisateur a ouvert \"*\" : l'usage exclusif est impossible"},
    {"\"*\" is opened exclusively by another user, or by 255 users",
     "un autre utilisateur a ouvert \"*\" en exclusif, ou 255 l'ont ouvert"},
    {"\"*\" is being opened and closed by others all the time", "d'autres ne cessent d'ouvrir et de fermer \"*\""},
    {"\"*\" is opened under another name, whose users cannot be seen from here",
     "\"*\" est ouvert sous un autre nom, dont les utilisateurs ne se voient pas d'ici"},
    {"a row of \"*\" was changed by another user while the query was reading it",
     "une ligne de \"*\" a changé pendant la lecture de la requête"},
    // tables, columns, indexes
    {"There is no object \"*\"", "il n'y a pas d'objet \"*\""},
    {"There is an object of the name \"*\" already", "un objet porte déjà le nom \"*\""},
    {"There are two columns of the name \"*\"", "deux colonnes portent le nom \"*\""},
    {"There is an index \"*\" already", "l'index \"*\" existe"},
    {"There is a primary key already: \"*\"", "il y a une clé primaire : \"*\""},
    {"There is a relationship \"*\" already", "la relation \"*\" existe"},
    {"There is no relationship \"*\"", "il n'y a pas de relation \"*\""},
    {"The table \"*\" has no column \"*\"", "la table \"*\" n'a pas de colonne \"*\""},
    {"the table \"*\" has no column \"*\"", "la table \"*\" n'a pas de colonne \"*\""},
    {"The table \"*\" has no index \"*\"", "la table \"*\" n'a pas d'index \"*\""},
    {"The table \"*\" has a column \"*\" already", "la table \"*\" a une colonne \"*\""},
    {"The table \"*\" has an index \"*\" already", "la table \"*\" a un index \"*\""},
    {"The table \"*\" has rows with equal values: no unique index can be made",
     "des lignes de la table \"*\" ont des valeurs égales : aucun index unique n'est possible"},
    {"The index \"*\" of the table \"*\" already holds these values", "l'index \"*\" de la table \"*\" contient déjà ces valeurs"},
    {"The column \"*\" is used by the index \"*\"", "la colonne \"*\" sert à l'index \"*\""},
    {"The column \"*\" is used by the relationship \"*\"", "la colonne \"*\" sert à la relation \"*\""},
    {"the table \"*\" has been dropped or defined anew meanwhile", "la table \"*\" a été supprimée ou redéfinie entre-temps"},
    {"The system table \"*\" cannot be dropped", "la table système \"*\" ne peut pas être supprimée"},
    {"A table has at most 255 columns", "une table a 255 colonnes au plus"},
    {"A table has at most 32 indexes", "une table a 32 index au plus"},
    {"The file would pass the limit of 2 gigabytes", "le fichier dépasserait 2 gigaoctets"},
    // values
    {"The column \"*\" must have a value", "la colonne \"*\" exige une valeur"},
    {"The column \"*\" does not take an empty text", "la colonne \"*\" n'accepte pas de texte vide"},
    {"The value is too long for the column \"*\"", "la valeur est trop longue pour la colonne \"*\""},
    {"The value * does not suit the column \"*\"", "la valeur * ne convient pas à la colonne \"*\""},
    {"\"*\" is not a date, column \"*\"", "\"*\" n'est pas une date, colonne \"*\""},
    {"\"*\" is not a number, column \"*\"", "\"*\" n'est pas un nombre, colonne \"*\""},
    {"\"*\" is not a date", "\"*\" n'est pas une date"},
    {"\"*\" is not a number", "\"*\" n'est pas un nombre"},
    // statements
    {"no column or parameter value \"*\"", "aucune colonne et aucune valeur de paramètre \"*\""},
    {"the statement has no parameter \"*\"", "l'instruction n'a pas de paramètre \"*\""},
    {"two values are given for the parameter \"*\"", "deux valeurs sont données au paramètre \"*\""},
    {"there is no stored query \"*\"", "il n'y a pas de requête enregistrée \"*\""},
    {"no stored query \"*\"", "il n'y a pas de requête enregistrée \"*\""},
    {"text without its closing quote", "texte sans son guillemet fermant"},
    {"name without its closing bracket", "nom sans son crochet fermant"},
    {"date without its closing #", "date sans son # fermant"},
    {"expression expected", "expression attendue"},
    {"SELECT expected", "SELECT attendu"},
    {"FROM expected", "FROM attendu"},
    {"SELECT, INSERT, UPDATE, DELETE, CREATE, ALTER or DROP expected", "SELECT, INSERT, UPDATE, DELETE, CREATE, ALTER ou DROP attendu"},
    {"VALUES or SELECT expected", "VALUES ou SELECT attendu"},
    {"end of the statement expected", "fin de l'instruction attendue"},
    {"\"*\" expected", "\"*\" attendu"},
    {"number out of range", "nombre hors limites"},
    {"unknown column type *", "type de colonne inconnu *"},
    {"wrong number of arguments for *", "mauvais nombre d'arguments pour *"},
    {"column \"*\" is in more than one table of the FROM clause", "la colonne \"*\" est dans plusieurs tables de FROM"},
    {"number expected", "nombre attendu"},
    {"AS expected", "AS attendu"},
    {"BY expected", "BY attendu"},
    {"name expected", "nom attendu"},
    {"name of the table expected", "nom de la table attendu"},
    {"name of the column expected", "nom de la colonne attendu"},
    {"name of the index expected", "nom de l'index attendu"},
    {"no table or query \"*\"", "il n'y a ni table ni requête \"*\""},
    {"There is no table \"*\"", "il n'y a pas de table \"*\""},
    {"number of values and of columns differ", "il n'y a pas autant de valeurs que de colonnes"},
    {"a text is compared with a number or date", "un texte est comparé à un nombre ou à une date"},
    {"the statement takes more than * seconds", "l'instruction prend plus de * secondes"},
    {"the statement takes more than * MB of memory", "l'instruction prend plus de * Mo de mémoire"},
    {"the query gives more than * rows", "la requête donne plus de * lignes"},
    {"the statement is nested too deeply", "l'instruction est trop imbriquée"},
    {"division by zero", "division par zéro"},
    {"overflow", "dépassement de capacité"},
};

constexpr bool StarsAgree() {
  for (const Sentence& sentence : kSentences) {
    const auto stars = [](std::string_view text) { return std::count(text.begin(), text.end(), '*'); };
    if (stars(sentence.english) != stars(sentence.french)) return false;
  }
  return true;
}
static_assert(StarsAgree());

std::string Filled(std::string_view sentence, const std::vector<std::string_view>& captured) {
  std::string filled;
  std::size_t next = 0;
  for (const char character : sentence) {
    if (character == '*') {
      filled += captured[next++];
    } else {
      filled += character;
    }
  }
  return filled;
}

/// The sentence in French; nothing when it is not known.
std::optional<std::string> French(std::string_view english) {
  for (const Sentence& sentence : kSentences) {
    if (const auto captured = Captured(english, sentence.english)) return Filled(sentence.french, *captured);
  }
  return std::nullopt;
}

/// What stands behind a sentence.
constexpr Sentence kPlaces[] = {{"* (at character *)", "(caractère *)"},
                                {"* (page *, offset *)", "(page *, octet *)"},
                                {"* near \"*\"", "près de \"*\""},
                                {"*, the text ends here", "à la fin du texte"}};

}  // namespace

std::string FrenchReason(std::string_view english) {
  for (const Sentence& place : kPlaces) {
    auto captured = Captured(english, place.english);
    if (!captured) continue;
    const std::string_view sentence = captured->front();
    std::string reason = FrenchReason(sentence);
    if (reason == sentence) break;
    captured->erase(captured->begin());
    return reason + ' ' + Filled(place.french, *captured);
  }
  return French(english).value_or(std::string(english));
}

}  // namespace tamlo::ado::jetprovider
