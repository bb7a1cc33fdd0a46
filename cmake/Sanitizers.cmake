if(QUORVEL_SANITIZE)
    add_compile_options(-fsanitize=${QUORVEL_SANITIZE} -fno-sanitize-recover=all
        -fno-omit-frame-pointer -O1)
    add_link_options(-fsanitize=${QUORVEL_SANITIZE})
endif()
