# Whom Ovrel asks. The addresses in the program are compared with this letter by letter, so it is written as a client
# sends it: in lower case, letters beyond ASCII in Punycode ("xn--").

set(OVREL_PUBLISHER_HOST "ovrel.example" CACHE STRING "The host that is asked for settings, banners and updates")
if(NOT OVREL_PUBLISHER_HOST MATCHES "^[a-z0-9]([-a-z0-9]*[a-z0-9])?([.][a-z0-9]([-a-z0-9]*[a-z0-9])?)*[.][a-z]([-a-z0-9]*[a-z0-9])?$")
  message(FATAL_ERROR
    "OVREL_PUBLISHER_HOST is \"${OVREL_PUBLISHER_HOST}\", which is no host name: it takes lower-case letters, digits "
    "and hyphens, with dots between the parts; other letters are written in Punycode (\"xn--\").")
endif()
