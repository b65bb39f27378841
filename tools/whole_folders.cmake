# SPDX-License-Identifier: GPL-2.0-only
option(OVK_WHOLE_FOLDERS "Compile the sources of a folder as one: faster for a whole build, slower for a change" OFF)
# Headers take most of a build's time.
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
