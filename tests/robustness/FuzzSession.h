#pragma once

#include "AuditedPlugin.h"

#include <string>
#include <vector>

class FuzzReader;

// One fuzzing input (FuzzCommand.h) played against a fresh instance of the
// plug-in by a host that does anything the interface allows, in any order:
// every opcode with any index and value and a well-formed pointer of the
// kind that opcode takes (text buffers of the sizes hosts use: the
// interface's limit plus one, 64, 256 or 1024 bytes), parameters and
// programs in and out of range, blocks of 0 to 8192 frames of any signal
// (16384 frames in all) at any sample rate, suspend and resume at any point.
//
// What the interface defines is checked after every call: each output
// sample finite and within the clip level of the parameters in force
// (AuditedPlugin), stored parameter values as given, the current program,
// texts terminated within their limit and nothing written past it. A
// violation aborts with a description, so libFuzzer keeps the input.
class FuzzSession
{
public:
    FuzzSession();
    // Closes the effect (effClose) as a host does last.
    ~FuzzSession();

    void run(FuzzReader& input);

private:
    void dispatch(FuzzReader& input);
    void dispatchText(int opcode, int index, int value, float opt, int limit, int sizeChoice, bool terminates);
    void setParameter(int index, float value);
    void getParameter(int index);
    void process(FuzzReader& input);
    void mains(int action);
    void expectProgram();
    [[noreturn]] void fail(const std::string& what);

    AuditedPlugin plugin;
    int program;
    long framesProcessed;
    std::vector<float> left;
    std::vector<float> right;
};
