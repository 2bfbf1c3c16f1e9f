// Precompiled headers belong to a program; this one has nothing else to do.
int main()
{
    return 0;
}
