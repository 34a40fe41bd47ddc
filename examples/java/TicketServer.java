import com.sun.net.httpserver.HttpExchange;
import com.sun.net.httpserver.HttpServer;
import com.vorak.sso.Sso;
import com.vorak.sso.SsoException;
import com.vorak.sso.TicketEvaluation;
import java.io.IOException;
import java.net.InetAddress;
import java.net.InetSocketAddress;
import java.net.URLDecoder;
import java.nio.charset.StandardCharsets;
import java.util.List;
import java.util.concurrent.Executors;

/**
 * A server that lets in who brings a logon ticket in a cookie: what a servlet filter does.
 *
 * <pre>
 * java -cp quorvanti.jar examples/java/TicketServer.java 8080 trusted.pem
 * curl --cookie "VORAKSSO2=$(cat ticket.txt)" http://localhost:8080/
 * </pre>
 */
public final class TicketServer {
    static final String COOKIE = "VORAKSSO2";

    private TicketServer() {}

    public static void main(String[] arguments) throws Exception {
        if (arguments.length != 2) {
            System.err.println("usage: TicketServer PORT KEYSTORE");
            System.exit(2);
        }
        HttpServer server = start(Integer.parseInt(arguments[0]), arguments[1], null);
        System.out.println("http://localhost:" + server.getAddress().getPort() + "/");
    }

    static HttpServer start(int port, String keyStore, String password) throws IOException, SsoException {
        Sso.start();
        HttpServer server = HttpServer.create(new InetSocketAddress(InetAddress.getLoopbackAddress(), port), 0);
        server.createContext("/", exchange -> answer(exchange, keyStore, password));
        server.setExecutor(Executors.newFixedThreadPool(8, task -> {
            Thread thread = new Thread(task);
            thread.setDaemon(true);
            return thread;
        }));
        server.start();
        return server;
    }

    private static void answer(HttpExchange exchange, String keyStore, String password) throws IOException {
        int status = 401;
        String text = "Please log on.\n";
        try {
            String ticket = ticket(exchange.getRequestHeaders().getOrDefault("Cookie", List.of()));
            if (ticket != null) {
                TicketEvaluation evaluation = Sso.evaluateLogonTicket(ticket, keyStore, password);
                status = 200;
                text = "Welcome, " + evaluation.user() + " of " + evaluation.systemId() + ".\n";
            }
        } catch (SsoException | IllegalArgumentException refusal) {
            // For the operator; who knocks at the door is not told why it stays shut.
            System.err.println("refused: " + refusal.getMessage());
        }
        byte[] body = text.getBytes(StandardCharsets.UTF_8);
        exchange.getResponseHeaders().set("Content-Type", "text/plain; charset=utf-8");
        exchange.sendResponseHeaders(status, body.length);
        try (exchange) {
            exchange.getResponseBody().write(body);
        }
    }

    /** The ticket of the cookie, or null. Servers write it as it is, percent-encoded, or with "!" in place of "+". */
    private static String ticket(List<String> headers) {
        for (String header : headers) {
            for (String cookie : header.split(";")) {
                String[] parts = cookie.strip().split("=", 2);
                if (parts.length == 2 && parts[0].equals(COOKIE) && !parts[1].isEmpty()) {
                    String value = parts[1].replace("+", "%2B"); // a plus is no blank here
                    return URLDecoder.decode(value, StandardCharsets.UTF_8).replace('!', '+');
                }
            }
        }
        return null;
    }
}
