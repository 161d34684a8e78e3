// A library of the host, beside its program and not in the system folder.
extern "C" __declspec(dllexport) int hostAnswer()
{
    return 42;
}
