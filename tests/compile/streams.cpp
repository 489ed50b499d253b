// SPDX-License-Identifier: Apache-2.0
//
// Misuse of the streams that the compiler must refuse, one case at a time; without a case it
// compiles.

#include <zelcommon.h>

struct File : std::filebuf_base
{
    File() : filebuf_base(std::ios_base::in) {}
    int readBlock(char*, unsigned int, int&) override { return 0; }
    int writeBlock(const char*, unsigned int, unsigned int&) override { return 0; }
    int seekFile(long long, std::ios_base::seekdir, std::streampos&) override { return 0; }
    int flushFile() override { return 0; }
#if !defined FILE_THAT_LACKS_A_PRIMITIVE
    int closeFile() override
    {
        return 0;
    }
#endif
};

void take(const std::BinBuffer&);

void use(std::IBinInputStream& input, std::IBinOutputStream& output)
{
    char data[1];
    unsigned int count = 0;
#if defined READ_PRIMITIVE_FROM_OUTSIDE
    input.performRead(data, 1, count);
#elif defined WRITE_PRIMITIVE_FROM_OUTSIDE
    output.performWrite(data, 1, count);
#elif defined READ_HOOK_FROM_OUTSIDE
    input.checkReadBufferConsistency();
#elif defined WRITE_HOOK_FROM_OUTSIDE
    output.checkWriteBufferConsistency();
#elif defined FLUSH_HOOK_FROM_OUTSIDE
    output.performFlush();
#elif defined BLOCKING_SET_FROM_OUTSIDE
    output.blocking = false;
#elif defined POSITION_SET_FROM_OUTSIDE
    input.readPos = 0;
#elif defined COUNT_LEFT_OUT
    input.read(data, 1);
#elif defined WRITTEN_TO_AN_INPUT
    input.write(data, 1, count);
#else
    input.read(data, 1, count);
    output.write(data, 1, count);
    output.flush(true);
#endif
    static_cast<void>(data);
    static_cast<void>(count);
}

void copy(std::IBinInputStream& input, std::IBinInputStream& otherInput,
          std::IBinOutputStream& output, std::IBinOutputStream& otherOutput)
{
    std::BinBuffer buffer(input);
    const File file;
#if defined COPIED_INPUT
    otherInput = input;
#elif defined COPIED_OUTPUT
    otherOutput = output;
#elif defined COPIED_BUFFER
    std::BinBuffer other(buffer);
#elif defined COPIED_FILE
    File other(file);
#elif defined BUFFER_FROM_AN_INPUT
    take(input);
#elif defined BUFFER_FROM_AN_OUTPUT
    take(output);
#else
    take(buffer);
    take(std::BinBuffer(output));
#endif
    static_cast<void>(otherInput);
    static_cast<void>(otherOutput);
}
