/**
 * Single-sign-on tickets for Java. Native code is loaded: run with {@code --enable-native-access=com.vorak.sso} where the
 * virtual machine asks for it.
 */
module com.vorak.sso {
    exports com.vorak.sso;
}
