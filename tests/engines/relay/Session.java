import java.io.BufferedInputStream;
import java.io.BufferedOutputStream;
import java.io.ByteArrayOutputStream;
import java.io.Closeable;
import java.io.DataInputStream;
import java.io.DataOutputStream;
import java.io.FilterInputStream;
import java.io.IOException;
import java.net.Socket;
import java.nio.ByteBuffer;
import java.nio.charset.StandardCharsets;
import java.util.Locale;
import java.util.Map;
import java.util.concurrent.ConcurrentHashMap;
import jdk.net.ExtendedSocketOptions;

/** One connection: copies protocol messages both ways and rewrites those that carry statements or describe columns. */
final class Session {
    private static final int PROTOCOL_3 = 196608;
    private static final int INT2_VECTOR = 22;
    private static final int TEXT = 25;
    private static final int COLUMN_TAIL = 18;  // table id, position, type, size, modifier and format of a described column

    private final Socket driver;
    private final Socket engine;
    private final Engine database;
    private final Mode mode;
    private final StatementLog log;
    private final Map<String, Map<String, Integer>> sizesByStatement = new ConcurrentHashMap<>();
    /** Of the query whose description the engine sends next: the driver always waits for it. */
    private volatile Map<String, Integer> sizes = ColumnSizes.NONE;

    Session(Socket driver, Socket engine, Engine database, StatementLog log) {
        this.driver = driver;
        this.engine = engine;
        this.database = database;
        this.mode = database.mode();
        this.log = log;
    }

    void start() throws IOException {
        driver.setTcpNoDelay(true);
        engine.setTcpNoDelay(true);
        pump(driver, engine, this::toEngine);
        pump(engine, driver, this::toDriver);
    }

    private interface Direction {
        void copy(DataInputStream in, DataOutputStream out) throws IOException;
    }

    private void pump(Socket from, Socket to, Direction direction) {
        Thread thread = new Thread(() -> {
            try {
                direction.copy(new DataInputStream(new BufferedInputStream(new PromptInput(from))),
                        new DataOutputStream(new BufferedOutputStream(to.getOutputStream())));
            } catch (IOException end) {
                // One side hung up: the other one is closed below.
            }
            close(driver);
            close(engine);
        });
        thread.setDaemon(true);
        thread.start();
    }

    /** The engine sends small pieces and waits for the receipt of each; the system would acknowledge them 40 ms late. */
    private static final class PromptInput extends FilterInputStream {
        private final Socket socket;

        PromptInput(Socket socket) throws IOException {
            super(socket.getInputStream());
            this.socket = socket;
        }

        @Override
        public int read(byte[] buffer, int start, int length) throws IOException {
            socket.setOption(ExtendedSocketOptions.TCP_QUICKACK, true);
            return super.read(buffer, start, length);
        }
    }

    private static void close(Closeable closeable) {
        try {
            closeable.close();
        } catch (IOException ignored) {
            // Nothing is left to be done with it.
        }
    }

    /** Start-up messages have no type byte; the last of them asks for protocol 3. */
    private void toEngine(DataInputStream in, DataOutputStream out) throws IOException {
        for (boolean started = false; !started; ) {
            int length = in.readInt();
            byte[] body = in.readNBytes(length - 4);
            started = ByteBuffer.wrap(body).getInt() == PROTOCOL_3;
            if (started) body = startUp(body);
            out.writeInt(body.length + 4);
            out.write(body);
            out.flush();
        }
        while (true) {
            int type = in.read();
            if (type < 0) return;
            byte[] body = in.readNBytes(in.readInt() - 4);
            if (type == 'Q') body = bytes(replacement(text(body, 0)) + "\0");
            if (type == 'P') body = parse(body);
            // Bind names a portal and a statement, Describe the kind of what it names and the name.
            if (type == 'B') sizes = sizesByStatement.getOrDefault(text(body, bytes(text(body, 0)).length + 1), ColumnSizes.NONE);
            if (type == 'D' && body[0] == 'S') sizes = sizesByStatement.getOrDefault(text(body, 1), ColumnSizes.NONE);
            write(out, type, body, in.available() == 0);
        }
    }

    /** There is one database, whatever the name that the program asks for. */
    private static byte[] startUp(byte[] body) throws IOException {
        ByteArrayOutputStream out = new ByteArrayOutputStream();
        out.write(body, 0, 4);
        for (int place = 4; body[place] != 0; ) {
            String key = text(body, place);
            place += bytes(key).length + 1;
            String value = text(body, place);
            place += bytes(value).length + 1;
            out.write(bytes(key + "\0" + (key.equals("database") ? "test" : value) + "\0"));
        }
        out.write(0);
        return out.toByteArray();
    }

    private void toDriver(DataInputStream in, DataOutputStream out) throws IOException {
        while (true) {
            int type = in.read();
            if (type < 0) return;
            byte[] body = in.readNBytes(in.readInt() - 4);
            if (type == 'T') body = describe(body);
            write(out, type, body, in.available() == 0);
        }
    }

    private static void write(DataOutputStream out, int type, byte[] body, boolean flush) throws IOException {
        out.write(type);
        out.writeInt(body.length + 4);
        out.write(body);
        if (flush) out.flush();
    }

    /** A message that prepares a statement: name, text, types of the parameters. */
    private byte[] parse(byte[] body) throws IOException {
        String name = text(body, 0);
        int start = bytes(name).length + 1;
        String statement = text(body, start);
        int rest = start + bytes(statement).length + 1;
        ByteArrayOutputStream out = new ByteArrayOutputStream();
        out.write(bytes(name + "\0" + replacement(statement) + "\0"));
        sizesByStatement.put(name, sizes);
        out.write(body, rest, body.length - rest);
        return out.toByteArray();
    }

    /** What the engine is to run for a statement of the driver or of the program. */
    private String replacement(String statement) {
        String own = DriverQueries.rewrite(statement, mode);
        sizes = ColumnSizes.NONE;
        if (own != null) return own;
        if (!statement.isBlank()) log.write(statement);
        String result = Interceptions.apply(statement, mode);
        sizes = ColumnSizes.of(result, database.connection());
        return result;
    }

    /** H2 describes columns in lower case, and the two lists of a catalog answer as texts where the driver wants vectors of numbers. */
    private byte[] describe(byte[] body) throws IOException {
        ByteArrayOutputStream out = new ByteArrayOutputStream();
        int columns = ByteBuffer.wrap(body).getShort();
        out.write(body, 0, 2);
        int place = 2;
        for (int i = 0; i < columns; i++) {
            String name = text(body, place);
            place += bytes(name).length + 1;
            String upper = name.toUpperCase(Locale.ROOT);
            out.write(bytes(upper + "\0"));
            ByteBuffer tail = ByteBuffer.wrap(body.clone(), place, COLUMN_TAIL);
            if (upper.equals("INDKEY") || upper.equals("INDOPTION")) tail.putInt(place + 6, INT2_VECTOR);
            int size = sizes.getOrDefault(upper, -1);
            if (size == ColumnSizes.TEXT) tail.putInt(place + 6, TEXT);
            tail.putInt(place + 12, Math.max(size, -1));
            out.write(tail.array(), place, COLUMN_TAIL);
            place += COLUMN_TAIL;
        }
        return out.toByteArray();
    }

    private static String text(byte[] body, int start) {
        int end = start;
        while (body[end] != 0) end++;
        return new String(body, start, end - start, StandardCharsets.UTF_8);
    }

    private static byte[] bytes(String text) {
        return text.getBytes(StandardCharsets.UTF_8);
    }
}
