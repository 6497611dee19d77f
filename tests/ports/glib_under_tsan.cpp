// GLib's own locks are invisible to ThreadSanitizer, so what its threads hand each other through
// memory functions would be reported. Our own code, called from GLib or not, stays under watch.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions() {
  return "called_from_lib:libglib-2.0.so\n"
         "called_from_lib:libgobject-2.0.so\n"
         "called_from_lib:libgio-2.0.so\n";
}
