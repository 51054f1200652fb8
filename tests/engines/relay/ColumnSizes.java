import java.sql.Connection;
import java.sql.PreparedStatement;
import java.sql.ResultSetMetaData;
import java.sql.SQLException;
import java.sql.Types;
import java.util.HashMap;
import java.util.Locale;
import java.util.Map;

/**
 * Declared sizes of a query's columns as PostgreSQL type modifiers, by upper-cased name. H2's PostgreSQL server describes the columns of a
 * result without sizes; the servers that it stands for do not.
 */
final class ColumnSizes {
    static final Map<String, Integer> NONE = Map.of();
    /** The modifier of a text without a declared length, which PostgreSQL knows as a type of its own. */
    static final int TEXT = -2;
    /** Texts that may be longer than this were declared without a length. */
    static final int LONGEST_TEXT = 1_000_000;
    private static final int LONGEST_NUMBER = 1000;

    /** Nothing for a statement that is no query or cannot be prepared: the engine itself will say why. */
    static Map<String, Integer> of(String statement, Connection connection) {
        if (!statement.regionMatches(true, 0, "SELECT", 0, 6)) return NONE;
        synchronized (connection) {
            try (PreparedStatement prepared = connection.prepareStatement(statement.replaceAll("\\$(\\d+)", "?$1"))) {
                Map<String, Integer> sizes = new HashMap<>();
                ResultSetMetaData columns = prepared.getMetaData();
                for (int i = 1; i <= columns.getColumnCount(); i++) {
                    sizes.put(columns.getColumnLabel(i).toUpperCase(Locale.ROOT), modifier(columns, i));
                }
                return sizes;
            } catch (SQLException refused) {
                return NONE;
            }
        }
    }

    private static int modifier(ResultSetMetaData columns, int i) throws SQLException {
        int precision = columns.getPrecision(i);
        switch (columns.getColumnType(i)) {
            case Types.CHAR, Types.VARCHAR:
                return precision < LONGEST_TEXT ? precision + 4 : TEXT;
            case Types.NUMERIC, Types.DECIMAL:
                return precision < LONGEST_NUMBER ? (precision << 16 | columns.getScale(i)) + 4 : -1;
            default:
                return -1;
        }
    }

    private ColumnSizes() {}
}
