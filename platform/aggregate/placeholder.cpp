// Replaced as the library is written.
