/** A dialect: H2's name for it, the login and the statements that follow every connection. */
enum Mode {
    ORACLE("Oracle", "SET MODE Oracle;SET SCHEMA ADM;SET SCHEMA_SEARCH_PATH ADM, PUBLIC, PG_CATALOG"),
    SQL_SERVER("MSSQLServer", "SET MODE MSSQLServer");

    final String h2Name;
    /** H2's PostgreSQL server turns the database to the PostgreSQL mode at every connection: this turns it back. */
    final String afterConnecting;

    Mode(String h2Name, String afterConnecting) {
        this.h2Name = h2Name;
        this.afterConnecting = afterConnecting;
    }

    static Mode of(String name) {
        for (Mode mode : values()) {
            if (mode.h2Name.equals(name)) return mode;
        }
        throw new IllegalArgumentException("unknown mode " + name);
    }
}
