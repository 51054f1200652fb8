import java.util.List;
import java.util.regex.Pattern;

/**
 * The one list of what the engine cannot parse. Each entry says which statements it is about, what is taken out or put in its place before
 * the engine sees it, and why. The statement as it came stands in the log, where the grammar check reads it.
 */
final class Interceptions {
    private record Entry(Mode mode, Pattern statement, Pattern part, String replacement, String reason) {
        Entry(Mode mode, String statement, String part, String replacement, String reason) {
            this(mode, Pattern.compile(statement, Pattern.DOTALL), Pattern.compile(part, Pattern.DOTALL), replacement, reason);
        }
    }

    private static final List<Entry> LIST = List.of(
            new Entry(Mode.ORACLE, "^CREATE TABLE .*", "(?<=\\)) PCTFREE [^ )]+", "", "the engine has no blocks to leave free"),
            new Entry(Mode.ORACLE, "^CREATE TABLE .*", "(?<=[) \\w]) PCTUSED [^ )]+", "", "the engine has no blocks to fill"),
            new Entry(Mode.ORACLE, "^CREATE TABLE .*", " STORAGE \\([^()]*\\)", "", "the engine has no extents"),
            new Entry(Mode.ORACLE, "^CREATE TABLE .*", " TABLESPACE \"[^\"]*\"$", "", "the engine has no tablespaces"),
            new Entry(Mode.ORACLE, "^CREATE (UNIQUE )?INDEX .*", "(?<=\\)) TABLESPACE \\S+$", "", "the engine has no tablespaces"),
            new Entry(Mode.ORACLE, "^SELECT .*", " \\(\\+\\)", "", "the engine knows outer joins by JOIN alone; here the join is an inner one"),
            new Entry(Mode.ORACLE, "^ALTER SESSION SET .*", "^.*$", "SET MODE Oracle", "the engine has no such session settings"),
            new Entry(Mode.SQL_SERVER, "^DROP INDEX .*", " ON \\[[^\\]]*\\]$", "", "the engine's index names are unique in a schema: it takes no table"));

    static String apply(String statement, Mode mode) {
        String result = statement;
        for (Entry entry : LIST) {
            if (entry.mode == mode && entry.statement.matcher(statement).matches()) {
                result = entry.part.matcher(result).replaceAll(entry.replacement);
            }
        }
        return result;
    }

    private Interceptions() {}
}
