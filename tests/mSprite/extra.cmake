# The bitmap resources of the image tests are generated at build time and bound into the
# test program by its resource script.
set(spriteResources ${CMAKE_CURRENT_BINARY_DIR}/mSprite-resources)
set(spriteFiles ${spriteResources}/sprite.bmp ${spriteResources}/sprite.imp ${spriteResources}/broken.imp)
file(MAKE_DIRECTORY ${spriteResources})

add_executable(VelnorSpriteResGen ${dir}/resgen/SpriteResGen.cpp)
target_compile_options(VelnorSpriteResGen PRIVATE ${VELNOR_WARNINGS})
target_link_options(VelnorSpriteResGen PRIVATE ${VELNOR_STATIC_RUNTIME})
add_custom_command(OUTPUT ${spriteFiles}
                   COMMAND VelnorSpriteResGen
                   WORKING_DIRECTORY ${spriteResources}
                   DEPENDS VelnorSpriteResGen
                   COMMENT "Generating the bitmap resources of the image tests")
add_custom_target(VelnorSpriteResources DEPENDS ${spriteFiles})

target_include_directories(${target} PRIVATE ${spriteResources} ${dir}/resgen)
add_dependencies(${target} VelnorSpriteResources)
set_source_files_properties(${dir}/sprites.rc PROPERTIES OBJECT_DEPENDS "${spriteFiles}")
