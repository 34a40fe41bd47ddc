// Nothing to do when the library is unloaded: libcrypto is a library of its own here, stays in memory and clears up
// after threads that end.
namespace quorvanti::provider {}
