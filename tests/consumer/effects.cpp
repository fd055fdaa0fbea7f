#include <catalog/catalog.h>

#include <cstdio>

int main() {
    std::printf("%s\n", qzil::catalog::Find("blend")->sSummary.c_str());
}
