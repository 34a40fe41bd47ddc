import com.sun.net.httpserver.HttpServer;
import java.net.URI;
import java.net.URLEncoder;
import java.net.http.HttpClient;
import java.net.http.HttpRequest;
import java.net.http.HttpResponse;
import java.nio.charset.StandardCharsets;

/** The example server, over HTTP. */
public final class TicketServerTest {
    private static HttpServer server;

    public static void main(String[] arguments) throws Exception {
        server = TicketServer.start(0, Suite.path("trusted.pem"), null);
        Suite.run(TicketServerTest.class);
        server.stop(0);
    }

    private static HttpResponse<String> get(String cookies) throws Exception {
        HttpRequest.Builder request =
                HttpRequest.newBuilder(URI.create("http://127.0.0.1:" + server.getAddress().getPort() + "/"));
        if (cookies != null) {
            request.header("Cookie", cookies);
        }
        return HttpClient.newHttpClient().send(request.build(), HttpResponse.BodyHandlers.ofString());
    }

    public static void aRequestWithATicketIsAccepted() throws Exception {
        for (String ticket : new String[] {
            Suite.material("logon"), URLEncoder.encode(Suite.material("logon"), StandardCharsets.UTF_8)
        }) {
            HttpResponse<String> answer = get("theme=dark; " + TicketServer.COOKIE + "=" + ticket);
            Suite.equal(200, answer.statusCode());
            Suite.equal("Welcome, JDOE of PRD.\n", answer.body());
        }
    }

    public static void aRequestWithoutIsRefused() throws Exception {
        for (String cookies : new String[] {null, "theme=dark", TicketServer.COOKIE + "="}) {
            Suite.equal(401, get(cookies).statusCode());
        }
    }

    public static void aTicketThatIsNotGenuineIsRefused() throws Exception {
        for (String name : new String[] {"tampered", "expired"}) {
            HttpResponse<String> answer = get(TicketServer.COOKIE + "=" + Suite.material(name));
            Suite.equal(401, answer.statusCode());
            Suite.equal("Please log on.\n", answer.body());
        }
        Suite.equal(401, get(TicketServer.COOKIE + "=%ZZ").statusCode());
    }
}
