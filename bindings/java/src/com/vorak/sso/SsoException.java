package com.vorak.sso;

import java.util.regex.Matcher;
import java.util.regex.Pattern;

/** A refusal or a failure, with the codes that tell the reason. */
public final class SsoException extends Exception {
    /** A code that the library did not tell. */
    public static final int UNKNOWN = -1;

    private static final long serialVersionUID = 1L;
    private static final int CRYPTO_FAILED = 14;
    private static final Pattern CODES =
            Pattern.compile("(?:standard error|rc)= (-?\\d+)(?:, ssf error= (-?\\d+))?");

    /** The library's code. */
    private final int standardError;
    /** The crypto library's code. */
    private final int ssfError;

    SsoException(String message, int standardError, int ssfError, Throwable cause) {
        super(message, cause);
        this.standardError = standardError;
        this.ssfError = ssfError;
    }

    /** Reads the codes from the message of a native method. */
    static SsoException of(Exception failure) {
        String message = String.valueOf(failure.getMessage());
        Matcher codes = CODES.matcher(message);
        int standardError = message.startsWith("Could not ") ? CRYPTO_FAILED : UNKNOWN;
        int ssfError = 0;
        if (standardError == UNKNOWN && codes.find()) {
            standardError = Integer.parseInt(codes.group(1));
            ssfError = codes.group(2) == null ? 0 : Integer.parseInt(codes.group(2));
        }
        return new SsoException(message, standardError, ssfError, failure);
    }

    /**
     * The library's own code, such as 4 for an expired ticket.
     *
     * @return the code, or {@link #UNKNOWN} when an argument was missing or the library did not tell
     */
    public int standardError() {
        return standardError;
    }

    /**
     * The crypto library's code.
     *
     * @return the code, or 0 when the crypto library was not the reason
     */
    public int ssfError() {
        return ssfError;
    }
}
