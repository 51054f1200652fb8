import java.io.BufferedReader;
import java.io.InputStreamReader;
import java.net.InetAddress;
import java.net.ServerSocket;
import java.net.Socket;
import java.nio.charset.StandardCharsets;
import java.nio.file.Path;

/**
 * Stands between the PostgreSQL ODBC driver and an H2 database in the mode of another vendor, so that statements of that dialect can be
 * executed through ODBC. Answers the driver's handshake and catalog questions, writes every statement of the program to a log, and takes
 * out of a statement what the engine cannot parse (see Interceptions). The program's own statements are otherwise never altered.
 *
 *   java -cp h2.jar:classes Relay Oracle|MSSQLServer statement-log
 *
 * Prints "READY port". Obeys lines on its input: "reset" empties the database and answers "DONE". Ends when its input ends, so that it never
 * outlives the test that started it.
 */
public final class Relay {
    public static void main(String[] arguments) throws Exception {
        Engine engine = new Engine(Mode.of(arguments[0]));
        StatementLog log = new StatementLog(engine.mode(), Path.of(arguments[1]));
        ServerSocket listener = new ServerSocket(0, 50, InetAddress.getByName("127.0.0.1"));
        Thread acceptor = new Thread(() -> accept(listener, engine, log), "acceptor");
        acceptor.setDaemon(true);
        acceptor.start();
        answer("READY " + listener.getLocalPort());

        BufferedReader commands = new BufferedReader(new InputStreamReader(System.in, StandardCharsets.UTF_8));
        for (String command = commands.readLine(); command != null; command = commands.readLine()) {
            if (command.equals("reset")) {
                engine.reset();
                answer("DONE");
            }
        }
        System.exit(0);
    }

    private static void accept(ServerSocket listener, Engine engine, StatementLog log) {
        try {
            while (true) {
                Socket driver = listener.accept();
                new Session(driver, new Socket("127.0.0.1", engine.port()), engine, log).start();
            }
        } catch (java.io.IOException end) {
            System.exit(1);
        }
    }

    private static void answer(String line) {
        System.out.println(line);
        System.out.flush();
    }
}
