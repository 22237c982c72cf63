/* The interface of shim.cpp, for C and C++. */
#ifdef __cplusplus
extern "C" {
#endif

/* Writes the canonical text of a name and a zero; returns its length, or -1 if it is no name or does not fit. */
int canonical_name(const char* text, char* out, unsigned int room);

#ifdef __cplusplus
}
#endif
