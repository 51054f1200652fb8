import java.sql.Connection;
import java.sql.DriverManager;
import java.sql.SQLException;
import java.sql.Statement;
import org.h2.tools.Server;
import org.h2.value.DataType;
import org.h2.value.Value;

/** The H2 database in memory, with the users, schemas and views that the dialect's server would have, and its PostgreSQL protocol server. */
final class Engine {
    private final Mode mode;
    private final Connection keeper;
    private final Server server;

    Engine(Mode mode) throws SQLException {
        this.mode = mode;
        System.setProperty("h2.bindAddress", "127.0.0.1");
        // DATABASE_TO_UPPER: an unquoted UTL must find "UTL". SQL Server's usual collation looks at the case neither of names nor of texts.
        String settings = mode == Mode.SQL_SERVER ? ";CASE_INSENSITIVE_IDENTIFIERS=TRUE;IGNORECASE=TRUE" : "";
        keeper = DriverManager.getConnection(
                "jdbc:h2:mem:" + mode.h2Name + ";MODE=PostgreSQL;DATABASE_TO_UPPER=TRUE;DB_CLOSE_DELAY=-1" + settings, "sa", "sa");
        mapTypes();
        prepare();
        server = Server.createPgServer("-pgPort", "0", "-key", "test", "mem:" + mode.h2Name).start();
    }

    Mode mode() {
        return mode;
    }

    /** A connection of the relay's own, with the names in sight that the program's connections have. */
    Connection connection() {
        return keeper;
    }

    int port() {
        return server.getPort();
    }

    /** Drops everything and sets the database up anew; no session may be in the middle of a statement. */
    void reset() throws SQLException {
        try (Statement statement = keeper.createStatement()) {
            statement.execute("DROP ALL OBJECTS");
            statement.execute("CREATE USER IF NOT EXISTS SA PASSWORD 'sa' ADMIN");
        }
        prepare();
    }

    private void prepare() throws SQLException {
        try (Statement statement = keeper.createStatement()) {
            statement.execute("SET MODE " + mode.h2Name);
            if (mode == Mode.ORACLE) prepareOracle(statement);
            for (String setting : mode.afterConnecting.split(";")) statement.execute(setting);
        }
    }

    private static void prepareOracle(Statement statement) throws SQLException {
        statement.execute("CREATE USER IF NOT EXISTS ADM PASSWORD 'adm' ADMIN");
        statement.execute("CREATE SCHEMA IF NOT EXISTS ADM AUTHORIZATION ADM");
        statement.execute("CREATE SCHEMA IF NOT EXISTS AUTRE");
        // The dictionary views that the layer reads. ADM holds what a role DBA-less owner has; LECTEUR is a role granted to ADM.
        statement.execute("CREATE VIEW IF NOT EXISTS PUBLIC.ALL_TABLES AS SELECT TABLE_SCHEMA AS OWNER, TABLE_NAME"
                + " FROM INFORMATION_SCHEMA.TABLES WHERE TABLE_TYPE = 'BASE TABLE'");
        statement.execute("CREATE VIEW IF NOT EXISTS PUBLIC.USER_SYS_PRIVS AS SELECT 'ADM' AS USERNAME, 'CREATE TABLE' AS PRIVILEGE");
        statement.execute("CREATE VIEW IF NOT EXISTS PUBLIC.USER_ROLE_PRIVS AS SELECT 'ADM' AS USERNAME, 'LECTEUR' AS GRANTED_ROLE");
        statement.execute("CREATE VIEW IF NOT EXISTS PUBLIC.ROLE_SYS_PRIVS AS SELECT 'LECTEUR' AS ROLE, 'CREATE SESSION' AS PRIVILEGE");
        statement.execute("CREATE VIEW IF NOT EXISTS PUBLIC.ALL_TAB_PRIVS AS SELECT 'LECTEUR' AS GRANTEE, 'AUTRE' AS TABLE_SCHEMA,"
                + " 'PARTAGE' AS TABLE_NAME, 'SELECT' AS PRIVILEGE");
    }

    /** The driver can neither read nor write H2's large objects, and H2's TINYINT is signed. */
    private static void mapTypes() {
        DataType bytes = DataType.getDataType(Value.VARBINARY);
        org.h2.engine.Mode.getInstance("Oracle").typeByNameMap.put("BLOB", bytes);
        org.h2.engine.Mode.getInstance("MSSQLServer").typeByNameMap.put("IMAGE", bytes);
        org.h2.engine.Mode.getInstance("MSSQLServer").typeByNameMap.put("TINYINT", DataType.getDataType(Value.SMALLINT));
    }
}
