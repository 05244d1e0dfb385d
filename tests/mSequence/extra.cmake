# The sound steps read back what they played from a capture file of their own.
set_tests_properties(${module} PROPERTIES ENVIRONMENT "VELNOR_SOUND_FILE=${CMAKE_BINARY_DIR}/mSequence-sound.raw")
