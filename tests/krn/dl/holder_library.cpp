// A library that needs the sample library, and so keeps it loaded.
extern "C" int dlSampleAnswer();
extern "C" [[gnu::visibility("default")]] int dlHolderAnswer();
extern "C" int dlHolderAnswer() {
    return dlSampleAnswer() + 1;
}
