# Whom Ovrel asks. The addresses in the program are compared with this letter by letter, so it is written as a client
# sends it: in lower case, letters beyond ASCII in Punycode ("xn--").

set(OVREL_PUBLISHER_HOST "ovrel.example" CACHE STRING "The host that is asked for settings, banners and updates")
if(NOT OVREL_PUBLISHER_HOST MATCHES "^[a-z0-9]([-a-z0-9]*[a-z0-9])?([.][a-z0-9]([-a-z0-9]*[a-z0-9])?)*[.][a-z]([-a-z0-9]*[a-z0-9])?$")
  message(FATAL_ERROR
    "OVREL_PUBLISHER_HOST is \"${OVREL_PUBLISHER_HOST}\", which is no host name: it takes lower-case letters, digits "
    "and hyphens, with dots between the parts; other letters are written in Punycode (\"xn--\").")
endif()

# RFC 1035, section 2.3.4.
string(REPLACE "." ";" ovrel_host_labels "${OVREL_PUBLISHER_HOST}")
foreach(label IN LISTS ovrel_host_labels)
  string(LENGTH "${label}" ovrel_label_length)
  if(ovrel_label_length GREATER 63)
    message(FATAL_ERROR
      "OVREL_PUBLISHER_HOST is \"${OVREL_PUBLISHER_HOST}\", which is no host name: a part has at most 63 characters.")
  endif()
endforeach()
string(LENGTH "${OVREL_PUBLISHER_HOST}" ovrel_host_length)
if(ovrel_host_length GREATER 253)
  message(FATAL_ERROR "OVREL_PUBLISHER_HOST is no host name: it has more than 253 characters.")
endif()
