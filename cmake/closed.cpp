// The whole program beside a layer's library: that it links is all there is to it.
int main() {
    return 0;
}
