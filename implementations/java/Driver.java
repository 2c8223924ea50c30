import com.google.protobuf.CodedOutputStream;
import com.google.protobuf.InvalidProtocolBufferException;
import com.google.protobuf.Message;
import com.google.protobuf.util.JsonFormat;
import java.io.*;
import java.nio.charset.StandardCharsets;
import java.util.*;

/** Reads and writes messages with the classes generated for Java, one line in, one line out. */
final class Driver {
    private static final List<Class<?>> SCHEMAS = List.of(
        quor.protobuf.CT.Codetrace.class, quor.protobuf.Config.Config.class,
        quor.protobuf.JQ.Jobqueue.class, quor.protobuf.Login.LoginOuterClass.class,
        quor.protobuf.Monitor.Monitor.class, quor.protobuf.QuorPHP.Quorphp.class,
        quor.protobuf.Tarq.Tarq.class);
    private static final JsonFormat.Printer JSON =
        JsonFormat.printer().omittingInsignificantWhitespace();

    private static Map<String, Message> emptyMessages() throws ReflectiveOperationException {
        var messages = new HashMap<String, Message>();
        for (var schema : SCHEMAS) {
            for (var nested : schema.getDeclaredClasses()) {
                if (Message.class.isAssignableFrom(nested)) {
                    var empty = (Message) nested.getMethod("getDefaultInstance").invoke(null);
                    messages.put(empty.getDescriptorForType().getFullName(), empty);
                }
            }
        }
        return messages;
    }

    private static byte[] write(Message message) throws IOException {
        var bytes = new byte[message.getSerializedSize()];
        var out = CodedOutputStream.newInstance(bytes);
        out.useDeterministicSerialization();
        message.writeTo(out);
        out.checkNoSpaceLeft();
        return bytes;
    }

    private static String answer(Message empty, String hex) throws IOException {
        if (empty == null) {
            return "unknown-type";
        }
        var read = HexFormat.of().parseHex(hex.equals("-") ? "" : hex);
        Message message;
        try {
            message = empty.getParserForType().parseFrom(read);
        } catch (InvalidProtocolBufferException refused) {
            return "refused";
        }
        var bytes = HexFormat.of().formatHex(write(message));
        var written = "accepted " + (bytes.isEmpty() ? "-" : bytes);
        try {
            return written + " " + JSON.print(message);
        } catch (IllegalArgumentException beyond) {  // a time outside the range of JSON
            return written;
        }
    }

    public static void main(String[] arguments) throws Exception {
        var messages = emptyMessages();
        var in = new BufferedReader(new InputStreamReader(System.in, StandardCharsets.US_ASCII));
        // System.out would ignore a failure to write.
        var stdout = new FileOutputStream(FileDescriptor.out);
        try (var out = new BufferedWriter(new OutputStreamWriter(stdout, StandardCharsets.UTF_8))) {
            for (String line; (line = in.readLine()) != null; ) {
                var parts = line.split(" ");
                out.write(answer(messages.get(parts[0]), parts[1]) + "\n");
            }
        }
    }
}
