import java.util.regex.Matcher;
import java.util.regex.Pattern;

/** The driver's own questions to a PostgreSQL catalog, answered from INFORMATION_SCHEMA under the column names that the driver expects. */
final class DriverQueries {
    private static final String OWN_SCHEMAS = " NOT IN('INFORMATION_SCHEMA','PG_CATALOG')";

    private static final String TEXTS = " IN('CHARACTER','CHARACTER VARYING','VARCHAR_IGNORECASE')";

    /** H2 type names, and what PostgreSQL calls each of them: type id, name, length. The last row holds for every other type. */
    private static final String[][] TYPES = {
        {"'CHARACTER'", "1042", "'bpchar'", "-1"},
        {"'CHARACTER VARYING','VARCHAR_IGNORECASE'", "1043", "'varchar'", "-1"},
        {"'INTEGER'", "23", "'int4'", "4"},
        {"'SMALLINT','TINYINT'", "21", "'int2'", "2"},
        {"'BIGINT'", "20", "'int8'", "8"},
        {"'NUMERIC','DECFLOAT','DECIMAL'", "1700", "'numeric'", "-1"},
        {"'REAL'", "700", "'float4'", "4"},
        {"'DOUBLE PRECISION','FLOAT'", "701", "'float8'", "8"},
        {"'BOOLEAN'", "16", "'bool'", "1"},
        {"'TIMESTAMP'", "1114", "'timestamp'", "8"},
        {"'DATE'", "1082", "'date'", "4"},
        {"'BINARY VARYING','BINARY LARGE OBJECT','BINARY'", "17", "'bytea'", "-1"},
        {null, "25", "'text'", "-1"},
    };

    /** The answer's statement, the text itself for transactions and the like, or null for a statement of the program. */
    static String rewrite(String query, Mode mode) {
        if (query.startsWith("SET DateStyle = 'ISO'")) return mode.afterConnecting + ";SELECT 'read committed' AS TRANSACTION_ISOLATION";
        if (query.startsWith("set client_encoding to")) return mode.afterConnecting;
        if (query.startsWith("select relname, nspname, relkind from pg_catalog.")) return tables(query);
        if (query.startsWith("select n.nspname, c.relname, a.attname, a.atttypid")) return columns(query);
        if (query.startsWith("select ta.attname, ia.attnum")) return primaryKey(query);
        if (query.startsWith("select c.relname, i.indkey, i.indisunique")) return indexes(query);
        if (query.contains("pg_catalog.") || query.contains("pg_type") || query.contains("pg_class")) return query;
        if (query.matches("(?is)(begin|commit|rollback|savepoint|release|show|set|select current_schema|discard|deallocate)\\b.*")) return query;
        return null;
    }

    private static String tables(String query) {
        return "SELECT TABLE_NAME relname,TABLE_SCHEMA nspname,CASE TABLE_TYPE WHEN 'VIEW' THEN 'v' ELSE 'r' END relkind"
                + " FROM INFORMATION_SCHEMA.TABLES WHERE TABLE_SCHEMA" + OWN_SCHEMAS
                + condition(query, "nspname", "TABLE_SCHEMA") + condition(query, "relname", "TABLE_NAME") + " ORDER BY 2,1";
    }

    private static String columns(String query) {
        // A question by table id is answered with nothing: the ids of the two catalogs have nothing in common.
        String where = query.contains("c.oid = ") ? "1=0" : "TABLE_SCHEMA" + OWN_SCHEMAS;
        return "SELECT TABLE_SCHEMA nspname,TABLE_NAME relname,COLUMN_NAME attname," + byType(1) + " atttypid," + byType(2)
                + " typname,ORDINAL_POSITION attnum," + byType(3) + " attlen,"
                + "CASE WHEN DATA_TYPE" + TEXTS + " AND CHARACTER_MAXIMUM_LENGTH<" + ColumnSizes.LONGEST_TEXT
                + " THEN CHARACTER_MAXIMUM_LENGTH+4 WHEN DATA_TYPE='NUMERIC' AND NUMERIC_PRECISION<1001"
                + " THEN NUMERIC_PRECISION*65536+NUMERIC_SCALE+4 ELSE -1 END atttypmod,"
                + "CASE IS_NULLABLE WHEN 'NO' THEN '1' ELSE '0' END attnotnull,'f' relhasrules,'r' relkind,0 oid,"
                + "COLUMN_DEFAULT pg_get_expr,0 typbasetype,-1 typtypmod,'f' relhasoids,'x' attidentity,'f' relhassubclass"
                + " FROM INFORMATION_SCHEMA.COLUMNS WHERE " + where + condition(query, "n.nspname", "TABLE_SCHEMA")
                + condition(query, "c.relname", "TABLE_NAME") + condition(query, "a.attname", "COLUMN_NAME") + " ORDER BY 1,2,6";
    }

    private static String primaryKey(String query) {
        if (!query.contains("indisprimary")) return query;
        return "SELECT K.COLUMN_NAME attname,K.ORDINAL_POSITION attnum,T.CONSTRAINT_NAME relname,T.TABLE_SCHEMA nspname,T.TABLE_NAME relname"
                + " FROM INFORMATION_SCHEMA.TABLE_CONSTRAINTS T JOIN INFORMATION_SCHEMA.KEY_COLUMN_USAGE K"
                + " ON K.CONSTRAINT_SCHEMA=T.CONSTRAINT_SCHEMA AND K.CONSTRAINT_NAME=T.CONSTRAINT_NAME"
                + " WHERE T.CONSTRAINT_TYPE='PRIMARY KEY'" + condition(query, "n.nspname", "T.TABLE_SCHEMA")
                + condition(query, "tc.relname", "T.TABLE_NAME") + " ORDER BY 2";
    }

    private static String indexes(String query) {
        // The index behind a constraint goes by the constraint's name, as on the servers that the engine stands for.
        return "SELECT COALESCE(T.CONSTRAINT_NAME,I.INDEX_NAME) relname,LISTAGG(C.ORDINAL_POSITION,' ') WITHIN GROUP(ORDER BY IC.ORDINAL_POSITION) indkey,"
                + "CASE WHEN I.INDEX_TYPE_NAME IN('UNIQUE INDEX','PRIMARY KEY') THEN '1' ELSE '0' END indisunique,"
                + "'0' indisclustered,'btree' amname,'f' relhasrules,I.INDEX_SCHEMA nspname,0 oid,'f' relhasoids,"
                + "LISTAGG(CASE IC.ORDERING_SPECIFICATION WHEN 'DESC' THEN '3' ELSE '0' END,' ')"
                + " WITHIN GROUP(ORDER BY IC.ORDINAL_POSITION) indoption"
                + " FROM INFORMATION_SCHEMA.INDEXES I JOIN INFORMATION_SCHEMA.INDEX_COLUMNS IC"
                + " ON IC.INDEX_SCHEMA=I.INDEX_SCHEMA AND IC.INDEX_NAME=I.INDEX_NAME LEFT JOIN INFORMATION_SCHEMA.TABLE_CONSTRAINTS T"
                + " ON T.INDEX_SCHEMA=I.INDEX_SCHEMA AND T.INDEX_NAME=I.INDEX_NAME JOIN INFORMATION_SCHEMA.COLUMNS C"
                + " ON C.TABLE_SCHEMA=I.TABLE_SCHEMA AND C.TABLE_NAME=I.TABLE_NAME AND C.COLUMN_NAME=IC.COLUMN_NAME WHERE 1=1"
                + condition(query, "n.nspname", "I.TABLE_SCHEMA") + condition(query, "d.relname", "I.TABLE_NAME")
                + " GROUP BY T.CONSTRAINT_NAME,I.INDEX_NAME,I.INDEX_TYPE_NAME,I.INDEX_SCHEMA ORDER BY 3 DESC,1";
    }

    /** The driver's comparisons of one of its columns, as conditions on a column of INFORMATION_SCHEMA. */
    private static String condition(String query, String column, String target) {
        StringBuilder conditions = new StringBuilder();
        Matcher found = Pattern.compile("(?<![.\\w])" + Pattern.quote(column) + " (like|=) E?('(?:[^']|'')*')").matcher(query);
        while (found.find()) {
            conditions.append(" AND ").append(target).append(' ').append(found.group(1)).append(' ')
                    .append(found.group(2).replace("\\\\", "\\"));
        }
        return conditions.toString();
    }

    private static String byType(int column) {
        String[] text = TYPES[TYPES.length - 1];
        StringBuilder choice = new StringBuilder("CASE WHEN DATA_TYPE" + TEXTS + " AND CHARACTER_MAXIMUM_LENGTH>="
                + ColumnSizes.LONGEST_TEXT + " THEN " + text[column]);
        for (String[] row : TYPES) {
            if (row[0] != null) choice.append(" WHEN DATA_TYPE IN(").append(row[0]).append(") THEN ").append(row[column]);
        }
        return choice + " ELSE " + text[column] + " END";
    }

    private DriverQueries() {}
}
