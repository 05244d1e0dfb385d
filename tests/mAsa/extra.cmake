target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/tools/asa)
