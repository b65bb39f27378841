# SPDX-License-Identifier: GPL-2.0-only
option(OVK_WHOLE_FOLDERS "Compile many sources as one: faster for a whole build, slower for a change" OFF)
# Headers take most of a build's time. Here the sources of each folder become one,
function(compile_whole_folders target)
    if(OVK_WHOLE_FOLDERS)
        get_target_property(sources ${target} SOURCES)
        foreach(source ${sources})
            cmake_path(GET source PARENT_PATH folder)
            set_source_files_properties(${source} PROPERTIES UNITY_GROUP "folder ${folder}")
        endforeach()
        set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
    endif()
endfunction()
# and here all that have not SKIP_UNITY_BUILD_INCLUSION.
function(compile_as_one target)
    if(OVK_WHOLE_FOLDERS)
        set_target_properties(${target} PROPERTIES
            UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 0 DISABLE_PRECOMPILE_HEADERS ON)
        # For GCC the sources are headers now, which others might include as well.
        target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
    endif()
endfunction()
