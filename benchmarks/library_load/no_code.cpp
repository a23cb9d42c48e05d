// A library with the dependencies of libzemoUtils and nothing else.
