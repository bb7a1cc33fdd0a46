# For our own code only; -Wno-missing-field-initializers because "{}" at the end of a list is meant.
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
    -Wnon-virtual-dtor -Woverloaded-virtual -Wno-missing-field-initializers -Werror)
