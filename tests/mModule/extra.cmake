# The modules the tests load: the test program itself stands for a title, beside it a plug-in
# and a module without resources. Their binary resources are generated at build time.
set(resources ${CMAKE_CURRENT_BINARY_DIR}/mModule-resources)
file(MAKE_DIRECTORY ${resources})

add_executable(VelnorTestResGen ${dir}/modules/resgen.cpp)
target_compile_options(VelnorTestResGen PRIVATE ${VELNOR_WARNINGS})
target_link_options(VelnorTestResGen PRIVATE ${VELNOR_STATIC_RUNTIME})
add_custom_command(OUTPUT ${resources}/tiny.bmp ${resources}/block.imp
                   COMMAND VelnorTestResGen
                   WORKING_DIRECTORY ${resources}
                   DEPENDS VelnorTestResGen
                   COMMENT "Generating the resources of the module tests")
add_custom_target(VelnorTestResources DEPENDS ${resources}/tiny.bmp ${resources}/block.imp)

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

foreach(user ${target} VelnorTestPlugin)
    target_include_directories(${user} PRIVATE ${resources})
    add_dependencies(${user} VelnorTestResources)
endforeach()
set_source_files_properties(${dir}/title.rc ${dir}/modules/plugin.rc PROPERTIES
                            OBJECT_DEPENDS "${resources}/tiny.bmp;${resources}/block.imp")
add_dependencies(${target} VelnorTestPlugin VelnorTestBare)
