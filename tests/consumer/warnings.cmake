# The warnings to which the projects that stand for users hold the library's headers. Imported targets would
# make system headers of them, in which compilers keep silent.
set(CMAKE_NO_SYSTEM_FROM_IMPORTED ON)
add_compile_options(-Wall -Wextra -Wconversion -Wpedantic -Wshadow -Werror)
