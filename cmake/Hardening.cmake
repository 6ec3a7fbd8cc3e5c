# What makes a mistake in programs that read foreign bytes harder to exploit: guarded stacks, checked library calls, tables that are
# read-only once all is bound, programs at an address of the system's choice. tests/install/hardening_test.py reads it from what was built.
include(CheckPIESupported)
check_pie_supported()
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
add_compile_options(-fstack-protector-strong)
add_link_options(-Wl,-z,relro,-z,now,-z,noexecstack)
# The checks of library calls need an optimising compiler and hinder a sanitizer's own; a distribution may have chosen already.
set(DOVETAIL_IS_FORTIFIED 0)
if(CMAKE_BUILD_TYPE MATCHES "^(Release|RelWithDebInfo|MinSizeRel)$" AND NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize|_FORTIFY_SOURCE")
  add_compile_options(-D_FORTIFY_SOURCE=2)
  set(DOVETAIL_IS_FORTIFIED 1)
endif()
