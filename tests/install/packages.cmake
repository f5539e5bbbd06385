# Looks up in debian/*.install to which Debian package each installed file goes. Included by check.cmake.

# Sets "result" to a regular expression for what a line of debian/*.install takes: the first word is
# the path of a file or a folder, with wildcards, and the second where it goes.
function(pattern_of_line line result)
  string(REGEX REPLACE " .*" "" pattern "${line}")
  # Debian's names of two folders, where its build has others than a build here.
  string(REPLACE "usr/lib/*/" "usr/lib/" pattern "${pattern}")
  string(REPLACE "/doc/tevinfo/" "/doc/TevInfo/" pattern "${pattern}")
  string(REPLACE "." "\\." pattern "${pattern}")
  string(REPLACE "*" "[^/]*" pattern "${pattern}")
  set(${result} "^${pattern}(/|$)" PARENT_SCOPE)
endfunction()

# Fails unless each file below "prefix" is in exactly one package of "debian", and each line of its
# lists takes a file.
function(expect_one_package_each prefix debian)
  file(GLOB_RECURSE files RELATIVE "${prefix}" "${prefix}/*")
  file(GLOB lists "${debian}/*.install")
  if(NOT lists)
    message(FATAL_ERROR "${debian} lists no files")
  endif()
  foreach(list IN LISTS lists)
    file(STRINGS "${list}" lines)
    foreach(line IN LISTS lines)
      pattern_of_line("${line}" pattern)
      set(isIdle TRUE)
      foreach(file IN LISTS files)
        if("usr/${file}" MATCHES "${pattern}")
          list(APPEND taken "${file}")
          set(isIdle FALSE)
        endif()
      endforeach()
      if(isIdle)
        message(FATAL_ERROR "${list}: nothing that is installed is \"${line}\"")
      endif()
    endforeach()
  endforeach()
  list(SORT files)
  list(SORT taken)
  if(NOT files STREQUAL taken)
    message(FATAL_ERROR "Not in one Debian package each. Installed:\n${files}\nin packages:\n${taken}")
  endif()
endfunction()
