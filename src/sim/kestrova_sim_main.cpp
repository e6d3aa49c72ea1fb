// kestrova-sim: the simulated IO-Link USB master as a line-oriented tool.
#include <iostream>
#include <stdexcept>

#include "Repl.h"
#include "Serve.h"

int main(int argc, char** argv) {
    using namespace kestrova::sim;
    try {
        const ReplOptions options = ParseReplArgs({argv + 1, argv + argc});
        if (options.help) {
            std::cout << ReplUsage() << '\n';
            return 0;
        }
        if (options.serve) {
            Server server(options.simulator);
            return RunServe(server, std::cin, std::cout);
        }
        Simulator sim(options.simulator);
        return RunRepl(sim, std::cin, std::cout, options.echo);
    } catch (const std::exception& e) {
        std::cerr << "kestrova-sim: " << e.what() << '\n';
        return 2;
    }
}
