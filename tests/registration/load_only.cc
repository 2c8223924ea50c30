// Linked with the library, uses nothing of it: what happens, happens while it is loaded.
int main() { return 0; }
