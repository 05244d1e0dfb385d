# The sound tests read back what they played from a capture file of their own, so that nothing
# else that plays in the same session mixes into it.
set_tests_properties(${module} PROPERTIES ENVIRONMENT "VELNOR_SOUND_FILE=${CMAKE_BINARY_DIR}/mMedia-sound.raw")
