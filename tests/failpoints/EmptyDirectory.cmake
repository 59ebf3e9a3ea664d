# cmake -D DIRECTORY=... -P: makes the directory, or empties it.
file(REMOVE_RECURSE ${DIRECTORY})
file(MAKE_DIRECTORY ${DIRECTORY})
