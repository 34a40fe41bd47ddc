// A library with one function.
extern "C" [[gnu::visibility("default")]] int dlSampleAnswer();
extern "C" int dlSampleAnswer() {
    return 42;
}
