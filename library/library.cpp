// The shared library is made of the static ones of all folders; a library target needs one source of its own.
