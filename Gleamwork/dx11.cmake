# The device back end: the only sources that include a platform header.
list(APPEND GLEAMWORK_LIBS platform texture)
