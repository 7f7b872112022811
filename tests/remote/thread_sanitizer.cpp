// What the thread sanitizer has to know about Qt. Without it, these functions are never called.

/// Qt is not instrumented, so what happens inside of it looks unordered.
extern "C" const char* __tsan_default_options() { // NOLINT(bugprone-reserved-identifier)
    return "ignore_noninstrumented_modules=1";
}

/// The lock under which a task is handed to the thread pool lies in there, too.
extern "C" const char* __tsan_default_suppressions() { // NOLINT(bugprone-reserved-identifier)
    return "race:QtConcurrent::NonPromiseTaskResolver";
}
