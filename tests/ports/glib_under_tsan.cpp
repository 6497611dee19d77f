// ThreadSanitizer does not see GLib's own locks and would report what GLib's threads pass to each
// other through memory functions. Our code is still checked, also when GLib calls it.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions() {
  return "called_from_lib:libglib-2.0.so\n"
         "called_from_lib:libgobject-2.0.so\n"
         "called_from_lib:libgio-2.0.so\n";
}
