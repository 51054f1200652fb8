#include "schema/FindingTexts.h"

#include <array>
#include <string_view>

#include "base/Sentence.h"

namespace tamlo::schema {
namespace {

struct Text {
  What what = {};
  std::string_view key;
  std::string_view english;
  std::string_view french;
};

constexpr std::array kTexts{
    // ----- Read: columns
    Text{What::kComputed, "computed-column", "is computed as %1; it becomes a plain column",
         "est calculée comme %1 ; devient une colonne ordinaire"},
    Text{What::kSeveralValues, "several-values",
         "holds attachments or several values, which Access keeps in a table of its own: only their number is taken over",
         "tient des pièces jointes ou plusieurs valeurs, qu'Access garde dans une table à part ; seul leur numéro est repris"},
    Text{What::kSetByChange, "set-by-change", "is set anew by each change of its row, which is left off",
         "est remise à jour à chaque modification de sa ligne, ce qui n'est pas repris"},
    Text{What::kHoldsOtherTruths, "other-truth-values", "is declared as a truth value but holds other numbers: becomes a number of 16 bits",
         "est déclarée booléenne mais contient d'autres nombres ; devient un nombre de 16 bits"},
    Text{What::kUnsigned, "unsigned", "is unsigned, which is not kept", "est sans signe, ce qui n'est pas gardé"},
    Text{What::kBeyondAmount, "beyond-amount", "has numbers beyond those of an amount: becomes a decimal",
         "a des nombres trop grands pour un montant ; devient un décimal"},
    Text{What::kBits, "bits-to-bytes", "is %1: its bits become bytes", "est %1 ; ses bits deviennent des octets"},
    Text{What::kBecomesItsText, "becomes-its-text", "is %1: becomes its text", "est %1 ; devient le texte de sa valeur"},
    Text{What::kBecomesText, "becomes-text", "is %1: becomes a text", "est %1 ; devient un texte"},
    Text{What::kBecomesServersText, "becomes-server-text", "is %1: becomes the text that the server writes for it",
         "est %1 ; devient le texte que le serveur en écrit"},
    Text{What::kBecomesBytes, "unknown-type-to-bytes", "is %1, which is not known: becomes bytes",
         "est %1, type inconnu ici ; devient des octets"},
    Text{What::kTakenAsKept, "unknown-type", "is %1, which is not known: taken as its values are kept",
         "est %1, type inconnu ici ; prise selon la forme de ses valeurs"},
    Text{What::kLabels, "labels-to-text", "is of the type %1 with labels: becomes a text",
         "est du type à étiquettes %1 ; devient un texte"},
    Text{What::kDomain, "domain", "is of the domain %1, whose conditions are left off",
         "est du domaine %1, dont les conditions ne sont pas reprises"},
    Text{What::kServersName, "server-name", "is a name of the server: becomes a text", "est un nom du serveur ; devient un texte"},
    Text{What::kNoCase, "case-insensitive-text", "does not tell letters from capitals in comparisons: becomes a plain text",
         "compare sans distinguer les majuscules ; devient un texte ordinaire"},
    Text{What::kJson, "json-to-text", "is JSON: becomes a text", "est du JSON ; devient un texte"},
    Text{What::kXml, "xml-to-text", "is XML: becomes a text", "est du XML ; devient un texte"},
    Text{What::kNoType, "no-type-to-text", "has no type: becomes a text", "n'a pas de type ; devient un texte"},
    Text{What::kAnyType, "any-type-to-text", "may be of any type: becomes a text", "peut être de tout type ; devient un texte"},
    Text{What::kTimeToMoment, "time-to-moment", "is a time without a day: becomes a moment of the first day, or a text",
         "est une heure sans jour ; devient un instant du premier jour, ou un texte"},
    Text{What::kTimeToText, "time-to-text", "is a time without a day: becomes a text", "est une heure sans jour ; devient un texte"},
    Text{What::kTimesNoMoment, "times-beyond-moments", "has times that no moment is: becomes a text",
         "a des heures qu'aucun instant ne peut tenir ; devient un texte"},
    Text{What::kDayToMoment, "day-to-moment", "is a day without a time: becomes a moment", "est un jour sans heure ; devient un instant"},
    Text{What::kWorldMoment, "world-moment", "is a moment of the world: becomes one of UTC",
         "est un instant avec fuseau horaire ; devient un instant UTC"},
    Text{What::kFinerMoments, "finer-moments", "has digits below the millisecond: becomes a text",
         "a des chiffres sous la milliseconde ; devient un texte"},
    Text{What::kNoDays, "no-days", "has days that are none, of month or day 0 or before the year 100: their rows are refused",
         "a des jours qui n'en sont pas, de mois ou de jour 0 ou d'avant l'an 100 ; leurs lignes sont refusées"},
    Text{What::kFarDays, "far-days", "has days before the year 100 or behind 9999, or infinite ones: their rows are refused",
         "a des jours d'avant l'an 100, d'après 9999, ou infinis ; leurs lignes sont refusées"},
    Text{What::kAnySizeToText, "any-size-to-text", "is a number of any size: becomes a text",
         "est un nombre de taille quelconque ; devient un texte"},
    Text{What::kAnySizeToDecimal, "any-size-to-decimal",
         "is a number of any size: becomes a decimal of %1 digits, which the numbers that are there need at most",
         "est un nombre de taille quelconque ; devient un décimal de %1 chiffres, le plus que demandent les nombres présents"},
    Text{What::kTooManyDigits, "too-many-digits", "has numbers of more than 38 digits, or none at all: becomes a text",
         "a des nombres de plus de 38 chiffres, ou des valeurs qui n'en sont pas ; devient un texte"},
    Text{What::kTooLargeNumbers, "too-large-numbers", "has numbers that are too large for what it is declared: becomes a wider one",
         "a des nombres trop grands pour son type déclaré ; en reçoit un plus large"},
    Text{What::kOtherForm, "other-form", "has values of another form than its type has: becomes a text",
         "a des valeurs d'une autre forme que celle de son type ; devient un texte"},
    Text{What::kSteps, "steps", "counts in steps of %1; from now on in steps of 1", "compte par pas de %1 ; désormais par pas de 1"},
    Text{What::kTypeOfReferred, "type-of-referred", "gets the type of %1.%2, to which it refers",
         "prend le type de %1.%2, à quoi elle renvoie"},
    Text{What::kRefersToTexts, "refers-to-texts", "holds numbers and refers to the texts of %1.%2: becomes a text",
         "contient des nombres et renvoie aux textes de %1.%2 ; devient un texte"},
    Text{What::kTextsReferTo, "texts-refer-to", "holds numbers, to which the texts of %1.%2 refer: becomes a text",
         "contient des nombres, à quoi renvoient les textes de %1.%2 ; devient un texte"},
    // ----- Read: keys, relations and what is no table
    Text{What::kIndexOverExpression, "index-over-expression", "the index %1 is over an expression and is left off",
         "l'index %1 porte sur une expression et n'est pas repris"},
    Text{What::kIndexOverRows, "index-over-rows", "the index %1 is over the rows with %2 and is left off",
         "l'index %1 ne porte que sur les lignes où %2 et n'est pas repris"},
    Text{What::kIndexOverBeginning, "index-over-beginning", "the index %1 is unique in the beginning of its texts and is left off",
         "l'index %1 n'est unique que sur le début de ses textes et n'est pas repris"},
    Text{What::kIndexIs, "index-of-state", "the index %1 is %2 and is left off", "l'index %1 est %2 et n'est pas repris"},
    Text{What::kIndexOfKind, "index-of-kind", "the index %1 is of the kind %2 and is left off",
         "l'index %1 est de la sorte %2 et n'est pas repris"},
    Text{What::kNullsInKey, "nulls-in-key", "has nulls in its primary key, which SQLite alone takes: becomes a unique index",
         "a des valeurs nulles dans sa clé primaire, ce que seul SQLite accepte ; la clé devient un index unique"},
    Text{What::kRelationDoes, "relation-action", "the relation %1 does %2 in the source; without it the change is refused",
         "la relation %1 fait %2 dans la source ; sans cela la modification est refusée"},
    Text{What::kOtherDatabase, "other-database", "refers to %1 of another database, which is left off",
         "renvoie à %1 d'une autre base, ce qui n'est pas repris"},
    Text{What::kOtherSchema, "other-schema", "refers to %1 of another schema, which is left off",
         "renvoie à %1 d'un autre schéma, ce qui n'est pas repris"},
    Text{What::kRelationsUntold, "relations-untold", "its relations are not told by the driver: %1",
         "le pilote ne dit pas ses relations : %1"},
    Text{What::kAsDriverTells, "as-driver-tells",
         "is described as far as its driver tells: defaults, rules and where a counter stands are not known",
         "n'est décrite qu'autant que le dit son pilote ; valeurs par défaut, règles et état des compteurs sont inconnus"},
    Text{What::kExclusion, "exclusion", "the exclusion %1 is left off", "l'exclusion %1 n'est pas reprise"},
    Text{What::kKeepsOldRows, "keeps-old-rows", "keeps its old rows (%1), which are left off",
         "garde ses anciennes lignes (%1), qui ne sont pas reprises"},
    Text{What::kSequence, "sequence", "the sequence %1 is left off", "la séquence %1 n'est pas reprise"},
    Text{What::kVirtualTable, "virtual-table", "the virtual table %1 is left off", "la table virtuelle %1 n'est pas reprise"},
    Text{What::kTablesOfSchema, "tables-of-schema", "the tables of the schema %1 (%2) are left off",
         "les tables du schéma %1 (%2) ne sont pas reprises"},
    Text{What::kKeptView, "kept-view", "the view %1 keeps its rows; it becomes a plain one",
         "la vue %1 garde ses lignes ; devient une vue ordinaire"},
    Text{What::kTrigger, "trigger", "the trigger %1 is left off", "le déclencheur %1 n'est pas repris"},
    Text{What::kFunction, "function", "the function %1 is left off", "la fonction %1 n'est pas reprise"},
    Text{What::kProcedure, "procedure", "the procedure %1 is left off", "la procédure %1 n'est pas reprise"},
    Text{What::kRoutine, "routine", "the %1 %2 is left off", "%2 (%1) n'est pas repris"},
    // ----- Written for an engine
    Text{What::kDefault, "default-left-off", "the default %1 has no equivalent on %2 and is left off",
         "la valeur par défaut %1 n'a pas d'équivalent sur %2 et n'est pas reprise"},
    Text{What::kRandomDefault, "random-default", "gets its random numbers from a default on %1",
         "reçoit ses nombres aléatoires d'une valeur par défaut sur %1"},
    Text{What::kNotNumbered, "not-numbered", "is a plain column on %1, which does not number it",
         "est une colonne ordinaire sur %1, qui ne la numérote pas"},
    Text{What::kComment, "comment-left-off", "the comment %1 is left off", "le commentaire %1 n'est pas repris"},
    Text{What::kTakesEmpty, "takes-empty", "takes the empty text on %1, which checks no column that updates in cascade",
         "accepte le texte vide sur %1, qui ne contrôle pas une colonne mise à jour en cascade"},
    Text{What::kEmptyIsNull, "empty-is-null", "Oracle keeps no empty text: it becomes null there",
         "Oracle ne garde pas de texte vide ; il y devient nul"},
    Text{What::kValidationRule, "validation-rule", "the validation rule %1 is left off", "la règle de validation %1 n'est pas reprise"},
    Text{What::kRuleOfNulls, "rule-of-nulls", "the validation rule %1 is left off: it does not say whether \"%2\" may be null",
         "la règle de validation %1 n'est pas reprise : elle ne dit pas si « %2 » peut être nulle"},
    Text{What::kRuleOfTexts, "rule-of-texts", "the validation rule %1 is left off: it compares texts, which %2 does otherwise",
         "la règle de validation %1 n'est pas reprise : elle compare des textes, ce que %2 fait autrement"},
    Text{What::kRuleUnchecked, "rule-unchecked",
         "the validation rule %1 is left off: %2 checks no column that counts or that updates in cascade",
         "la règle de validation %1 n'est pas reprise : %2 ne contrôle pas une colonne qui compte ou qui est mise à jour en cascade"},
    Text{What::kRuleBeforeRows, "rule-before-rows", "rows that break the validation rule %1 are refused, the older ones too",
         "les lignes qui enfreignent la règle de validation %1 sont refusées, même anciennes"},
    Text{What::kHyperlink, "hyperlink", "is no hyperlink any more but its text", "n'est plus un lien hypertexte mais son texte"},
    Text{What::kRowTooLong, "row-too-long", "becomes a text of any length, for a row of the table would be too long for %1",
         "devient un texte de longueur quelconque, car une ligne de la table serait trop longue pour %1"},
    Text{What::kKeyOfCharacters, "key-of-characters",
         "the primary key holds its first %1 characters alone on %2: rows that differ behind them alone are refused",
         "la clé primaire n'en tient que les %1 premiers caractères sur %2 ; les lignes qui ne diffèrent qu'au-delà sont refusées"},
    Text{What::kKeyOfBytes, "key-of-bytes",
         "the primary key holds its first %1 bytes alone on %2: rows that differ behind them alone are refused",
         "la clé primaire n'en tient que les %1 premiers octets sur %2 ; les lignes qui ne diffèrent qu'au-delà sont refusées"},
    Text{What::kHoldsKeyless, "holds-keyless", "the index %1 holds rows without a key too",
         "l'index %1 contient aussi les lignes sans clé"},
    Text{What::kUniqueTooWide, "unique-too-wide", "the unique index %1 is too wide for %2 and is left off",
         "l'index unique %1 est trop large pour %2 et n'est pas repris"},
    Text{What::kRelationNoSides, "relation-no-sides", "the relation %1 is left off: not both of its sides are tables of the database",
         "la relation %1 n'est pas reprise : ses deux côtés ne sont pas des tables de la base"},
    Text{What::kRelationLoose, "relation-loose", "the relation %1 is not enforced in the source and is left off",
         "la relation %1 n'est pas appliquée dans la source et n'est pas reprise"},
    Text{What::kRelationTooWide, "relation-too-wide", "the relation %1 is left off: its columns are too wide for a key of %2",
         "la relation %1 n'est pas reprise : ses colonnes sont trop larges pour une clé de %2"},
    Text{What::kNoCascade, "no-cascade", "the relation %1 does not cascade updates on %2",
         "la relation %1 ne propage pas les modifications sur %2"},
    // ----- Planned for an Access file
    Text{What::kNullableTruth, "nullable-truth", "may be null, which Yes/No cannot: becomes an Integer",
         "peut être nulle, ce qu'un Oui/Non ne peut pas ; devient un Entier"},
    Text{What::kLongText, "long-text", "is longer than 255 characters: becomes a Memo", "dépasse 255 caractères ; devient un Mémo"},
    Text{What::kLongBytes, "long-bytes", "is longer than 510 bytes: becomes an OLE object", "dépasse 510 octets ; devient un objet OLE"},
    Text{What::kBig, "number-of-64-bits", "has 64 bits: becomes a Decimal of 19 digits", "a 64 bits ; devient un Décimal de 19 chiffres"},
    Text{What::kNoDecimal, "no-decimal", "has no digits of a Decimal: its numbers become texts",
         "n'a pas les chiffres d'un Décimal ; ses nombres deviennent des textes"},
    Text{What::kManyDigits, "many-digits", "has %1 digits: becomes a Decimal of 28, and longer numbers are refused",
         "a %1 chiffres ; devient un Décimal de 28, et les nombres plus longs sont refusés"},
    Text{What::kNoGuids, "no-guids", "makes no GUIDs in Access, for it is none",
         "ne crée pas de GUID dans Access, car elle n'en est pas un"},
    Text{What::kSecondCounter, "second-counter", "is a plain number in Access, which counts in one column",
         "est un nombre ordinaire dans Access, qui ne compte que dans une colonne"},
    Text{What::kBeyondLong, "beyond-long", "goes on beyond a Long: becomes a plain number",
         "continue au-delà d'un Entier long ; devient un nombre ordinaire"},
    Text{What::kOnlyLongCounts, "only-long-counts", "counts, which only a Long does: becomes one",
         "compte, ce que seul fait un Entier long ; en devient un"},
    Text{What::kCounterDefault, "counter-default", "counts: its default %1 is left off",
         "compte ; sa valeur par défaut %1 n'est pas reprise"},
    Text{What::kDefaultInAccess, "default-in-access", "the default %1 has no equivalent in Access and is left off",
         "la valeur par défaut %1 n'a pas d'équivalent dans Access et n'est pas reprise"},
    Text{What::kRule, "rule-left-off", "the rule %1 is left off", "la règle %1 n'est pas reprise"},
    Text{What::kNoColumns, "no-columns", "has no columns, which no table in Access is without",
         "n'a pas de colonne, or aucune table d'Access n'en est dépourvue"},
    Text{What::kManyColumns, "many-columns", "has %1 columns; a table in Access has at most 255",
         "a %1 colonnes ; une table d'Access en a 255 au plus"},
    Text{What::kFixedBytes, "fixed-bytes", "has numbers and dates of %1 bytes in a row, of which Access holds 4000",
         "a des nombres et des dates de %1 octets par ligne, dont Access tient 4000"},
    Text{What::kLongRows, "long-rows", "rows of more than 4000 bytes beside their long texts are refused",
         "les lignes de plus de 4000 octets hors de leurs textes longs sont refusées"},
    Text{What::kManyRows, "many-rows", "has %1 rows, which are more than 2 GB: no Access file holds them",
         "a %1 lignes, soit plus de 2 Go ; aucun fichier Access ne les tient"},
    Text{What::kIndexParts, "index-parts", "the index %1 has %2 columns; Access takes 1 to 10, and is left off",
         "l'index %1 n'est pas repris : %2 colonnes, où Access en accepte de 1 à 10"},
    Text{What::kIndexNoColumns, "index-no-columns", "the index %1 is on something else than columns of the table, and is left off",
         "l'index %1 porte sur autre chose que des colonnes de la table et n'est pas repris"},
    Text{What::kIndexOverOle, "index-over-ole", "the index %1 is on \"%2\", an OLE object, which Access does not index, and is left off",
         "l'index %1 porte sur « %2 », un objet OLE, qu'Access n'indexe pas, et n'est pas repris"},
    Text{What::kIndexTwice, "index-twice", "the index %1 has the column \"%2\" twice, and is left off",
         "l'index %1 a deux fois la colonne « %2 » et n'est pas repris"},
    Text{What::kSecondPrimary, "second-primary", "the index %1 is the second primary key, and becomes a unique index",
         "l'index %1 est la seconde clé primaire et devient un index unique"},
    Text{What::kIndexOfRelation, "index-of-relation", "the index %1 is the one that its relation makes by itself",
         "l'index %1 est celui que sa relation crée d'elle-même"},
    Text{What::kManyIndexes, "many-indexes", "the index %1 is left off: a table in Access has 32 with those of its relations",
         "l'index %1 n'est pas repris : une table d'Access en a 32 avec ceux de ses relations"},
    Text{What::kNeedsIndexes, "needs-indexes", "needs %1 indexes with those of its relations; Access has 32",
         "demande %1 index avec ceux de ses relations ; Access en a 32"},
    Text{What::kRelationNoTables, "relation-no-tables", "the relation %1 to %2 is left off: not both are tables with its columns",
         "la relation %1 vers %2 n'est pas reprise : les deux ne sont pas des tables avec ses colonnes"},
    Text{What::kRelationOfTypes, "relation-of-types",
         "the relation %1 is kept but not enforced: \"%2\" and \"%3\" are of different types in Access",
         "la relation %1 est gardée mais pas appliquée : « %2 » et « %3 » sont de types différents dans Access"},
    Text{What::kRelationNoIndex, "relation-no-index",
         "the relation %1 is kept but not enforced: \"%2\" has no unique index on exactly what it refers to",
         "la relation %1 est gardée mais pas appliquée : « %2 » n'a pas d'index unique sur exactement ce à quoi elle renvoie"},
    Text{What::kRelationOrder, "relation-order", "the relation %1 has its columns in the order of the index that it refers to",
         "la relation %1 a ses colonnes dans l'ordre de l'index auquel elle renvoie"},
    Text{What::kLink, "foreign-link", "the link %1 to %2 of %3 is left off", "le lien %1 vers %2 de %3 n'est pas repris"},
    Text{What::kQueryOfAnother, "query-not-of-access", "the query %1 is left off: is no statement of Access",
         "la requête %1 n'est pas reprise : ce n'est pas une instruction d'Access"},
    Text{What::kQueryReadsOtherwise, "query-reads-otherwise", "the query %1 is left off: would read otherwise",
         "la requête %1 n'est pas reprise : elle se relirait autrement"},
    Text{What::kQueryRefused, "query-refused", "the query %1 is left off: %2", "la requête %1 n'est pas reprise : %2"},
    // ----- Refused while it was made, for what the rows or the file hold
    Text{What::kIndexRefused, "index-refused", "the index %1 is left off: %2", "l'index %1 n'est pas repris : %2"},
    Text{What::kRelationRefused, "relation-refused", "the relation %1 is kept but not enforced: %2",
         "la relation %1 est gardée mais pas appliquée : %2"},
    Text{What::kNameTaken, "name-taken", "the file has an object %1 already", "le fichier a déjà un objet %1"},
    Text{What::kStatementRefused, "statement-refused", "%1 (%2)", "%1 (%2)"},
    Text{What::kOrphans, "orphans", "%1 rows refer to rows of %2 that are not there",
         "lignes qui renvoient à des lignes absentes de %2 : %1"},
    // ----- Of a copy: what its map or its nature leaves behind
    Text{What::kRuleOfOtherNames, "rule-of-other-names", "the validation rule %1 is left off: columns have other names",
         "la règle de validation %1 n'est pas reprise : des colonnes ont d'autres noms"},
    Text{What::kIndexLosesColumn, "index-loses-column", "the index %1 is left off: a column of it stays behind",
         "l'index %1 n'est pas repris : une de ses colonnes ne l'est pas"},
    Text{What::kRelationLosesColumn, "relation-loses-column", "the relation %1 is left off: a column of it stays behind",
         "la relation %1 n'est pas reprise : une de ses colonnes ne l'est pas"},
    Text{What::kQueryStays, "query-stays", "the stored query %1 stays behind", "la requête enregistrée %1 n'est pas reprise"},
    Text{What::kLinkStays, "link-stays", "the link %1 to %2 stays behind", "le lien %1 vers %2 n'est pas repris"},
    Text{What::kFileTooLarge, "file-too-large", "about %1 bytes of values, and no Access file holds more than 2 GB",
         "environ %1 octets de valeurs, et aucun fichier Access n'en tient plus de 2 Go"},
};

/// A bit for each of "%1" to "%9".
constexpr unsigned PlacesIn(std::string_view text) {
  unsigned places = 0;
  for (std::size_t at = 0; at + 1 < text.size(); ++at)
    if (text[at] == '%') places |= 1U << static_cast<unsigned>(text[at + 1] - '0');
  return places;
}

constexpr bool InTheOrderOfWhat() {
  for (std::size_t i = 0; i < kTexts.size(); ++i)
    if (static_cast<std::size_t>(kTexts[i].what) != i) return false;
  return kTexts.size() == kWhats;
}
constexpr bool WithTheSamePlaces() {
  for (const Text& text : kTexts)
    if (text.english.empty() || text.french.empty() || PlacesIn(text.english) != PlacesIn(text.french)) return false;
  return true;
}
constexpr bool EachOnce() {
  for (std::size_t i = 0; i < kTexts.size(); ++i)
    for (std::size_t k = 0; k < i; ++k)
      if (kTexts[i].english == kTexts[k].english || kTexts[i].french == kTexts[k].french) return false;
  return true;
}
constexpr bool IsKey(std::string_view key) {
  for (const char c : key)
    if ((c < 'a' || c > 'z') && (c < '0' || c > '9') && c != '-') return false;
  return !key.empty() && key.front() != '-' && key.back() != '-';
}
constexpr bool EachHasItsKey() {
  for (std::size_t i = 0; i < kTexts.size(); ++i) {
    if (!IsKey(kTexts[i].key)) return false;
    for (std::size_t k = 0; k < i; ++k)
      if (kTexts[i].key == kTexts[k].key) return false;
  }
  return true;
}
static_assert(InTheOrderOfWhat(), "every What has its sentences, in the order of the enumerators");
static_assert(WithTheSamePlaces(), "both sentences are there, with the same places for parts");
static_assert(EachOnce(), "no sentence stands there twice");
static_assert(EachHasItsKey(), "every What has a key of small letters, digits and hyphens, which no other has");

const Text& TextOf(What what) { return kTexts[static_cast<std::size_t>(what)]; }

std::string Filled(std::string_view pattern, const Finding& finding, base::Language language) {
  return base::Sentence(pattern, std::vector<std::string_view>(finding.parts.begin(), finding.parts.end()), language);
}

}  // namespace

std::string_view KeyOf(What what) { return TextOf(what).key; }

std::string_view PatternOf(What what) { return TextOf(what).english; }

std::string English(const Finding& finding) { return Filled(TextOf(finding.what).english, finding, base::Language::kEnglish); }

std::string French(const Finding& finding) { return Filled(TextOf(finding.what).french, finding, base::Language::kFrench); }

}  // namespace tamlo::schema
