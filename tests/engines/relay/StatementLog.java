import java.io.BufferedWriter;
import java.io.IOException;
import java.io.UncheckedIOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.StandardOpenOption;

/** Writes the statements of the program, as they came, one JSON object a line: {"dialect":"Oracle","text":"..."}. */
final class StatementLog {
    private final Mode mode;
    private final BufferedWriter out;

    StatementLog(Mode mode, Path path) throws IOException {
        this.mode = mode;
        this.out = Files.newBufferedWriter(path, StandardOpenOption.CREATE, StandardOpenOption.APPEND);
    }

    synchronized void write(String statement) {
        StringBuilder text = new StringBuilder();
        for (char c : statement.toCharArray()) {
            if (c == '"' || c == '\\') text.append('\\').append(c);
            else if (c < ' ') text.append(String.format("\\u%04x", (int) c));
            else text.append(c);
        }
        try {
            out.write("{\"dialect\":\"" + mode.h2Name + "\",\"text\":\"" + text + "\"}\n");
            out.flush();
        } catch (IOException failure) {
            throw new UncheckedIOException(failure);
        }
    }
}
