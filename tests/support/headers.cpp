// Built for the headers alone that most tests include: they are compiled once, not once a test.
int main() {}
