// A plug-in title module with an entry point for its host.
extern "C" __declspec(dllexport) int pluginAnswer(void) { return 42; }
