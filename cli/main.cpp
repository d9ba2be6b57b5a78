// zkimgset: automatic set-up of photo files from the command line.
int main() { return 0; }
