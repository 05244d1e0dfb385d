// A module without any resources, not even a version block.
extern "C" __declspec(dllexport) int bareAnswer(void) { return 7; }
