# derkit_missing(WHAT PART PACKAGES OPTION [REQUIRED]): says in one line that PART lacks WHAT, which Debian has in PACKAGES, and
# that -D OPTION builds without PART. The build goes on without it unless it is REQUIRED.
function(derkit_missing what part packages option)
  set(line "derkit: missing for ${part}: ${what}; install ${packages} (Debian's names) or build without by -D ${option}")
  if("REQUIRED" IN_LIST ARGN)
    message(FATAL_ERROR " ${line}") # the blank in front keeps the line whole
  endif()
  message(NOTICE "-- ${line}")
endfunction()
