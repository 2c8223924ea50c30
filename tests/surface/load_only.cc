// Linked with the library, but uses nothing of it: everything happens while the library is loaded.
int main() { return 0; }
