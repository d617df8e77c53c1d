// vesk-media: reads and writes pictures and videos for other programs.
int main()
{
    return 2;
}
