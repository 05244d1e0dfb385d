# The modules the tests load: the test program itself stands for a title, beside it a plug-in
# and a module without resources.
add_library(VelnorTestPlugin SHARED ${dir}/modules/plugin.cpp ${dir}/modules/plugin.rc)
add_library(VelnorTestBare SHARED ${dir}/modules/bare.cpp)
foreach(plugin VelnorTestPlugin VelnorTestBare)
    set_target_properties(${plugin} PROPERTIES PREFIX "")
    target_link_options(${plugin} PRIVATE ${VELNOR_STATIC_RUNTIME})
endforeach()
# The same module under a file name without an extension.
add_custom_command(TARGET VelnorTestBare POST_BUILD
                   COMMAND ${CMAKE_COMMAND} -E copy $<TARGET_FILE:VelnorTestBare>
                           $<TARGET_FILE_DIR:VelnorTestBare>/VelnorTestNoExt)
add_dependencies(${target} VelnorTestPlugin VelnorTestBare)
