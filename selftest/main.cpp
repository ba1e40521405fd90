// The program `sinew_selftest`: the groups without the packages that the program `sinew` needs.
//
//     sinew_selftest [group...]    compares the results of all or some groups with the table
//     sinew_selftest --table       prints the source of a new table, for selftest/expected.cpp

#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include <selftest/report.h>

int main(int argc, char** argv)
{
    std::vector<std::string> const arguments(argv + 1, argv + argc);
    try {
        if (arguments == std::vector<std::string>{"--table"}) {
            selftest::printTable(selftest::allGroups(), selftest::expectedResults(), selftest::mathBuild(), std::cout);
            return 0;
        }
        return selftest::runSelftest(arguments, std::cout);
    } catch (std::exception const& error) {
        std::cerr << "sinew_selftest: " << error.what() << std::endl;
        return 1;
    }
}
