// The server is in a file of its own, which may become a shared library.
void serveAdder();

int main() {
    serveAdder();
}
