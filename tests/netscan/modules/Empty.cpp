// A module that exports nothing that anybody looks for.
extern "C" {
int functions;
}
