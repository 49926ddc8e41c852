#include "ParameterTable.h"

const ParameterRow parameterTable[kNumParameters] = {
    // name        label  format     min      max     default
    {"In gain",   "dB",  "%+2.1f",  -20.0f,  20.0f,   0.0f},
    {"Attack",    "s",   "%1.4f",     0.0f,   1.0f,   0.04f},
    {"Release",   "s",   "%1.4f",     0.0f,   1.0f,   0.5f},
    {"Lookahd",   "s",   "%1.4f",     0.0f,   0.003f, 0.001f},
    {"ISP",       "",    "%2.1f",     0.0f,   1.0f,   0.0f},
    {"Outceil",   "dB",  "%2.1f",   -10.0f,   0.0f,  -0.1f},
    {"Scale",     "",    "%2.0f",     0.0f,   3.0f,   0.0f},
    {"Link",      "%",   "%2.0f",     0.0f, 100.0f,  35.0f},
    {"AES17",     "",    "%1.0f",     0.0f,   1.0f,   1.0f},
    {"Monitor",   "",    "%1.0f",     0.0f,   1.0f,   0.0f},
    {"Saturate",  "%",   "%2.0f",     0.0f, 100.0f,  20.0f},
    {"NumBits",   "",    "%2.0f",     0.0f,   3.0f,   0.0f},
    {"Shaping",   "%",   "%2.0f",     0.0f, 100.0f, 100.0f},
};

const ProgramRow factoryPrograms[kNumFactoryPrograms] = {
    //                               gain  attack release lookahd  ISP  ceil scale link AES17 mon  sat bits shaping
    {"Palisorne limiter",          {  0.0f, 0.04f, 0.5f,  0.001f,  0.0f, -0.1f, 0.0f, 35.0f, 1.0f, 0.0f,  30.0f, 0.0f,   0.0f}},
    {"K-system DVD master",        {  0.0f, 0.03f, 0.5f,  0.002f,  1.0f, -1.0f, 3.0f, 50.0f, 1.0f, 0.0f,  10.0f, 3.0f,  50.0f}},
    {"K-system CD master",         {  0.0f, 0.05f, 0.4f,  0.001f,  1.0f, -0.1f, 2.0f, 35.0f, 1.0f, 0.0f,  20.0f, 2.0f, 100.0f}},
    {"EBU R128 -1 dBTP",           {  0.0f, 0.04f, 0.3f,  0.001f,  1.0f, -1.0f, 0.0f, 40.0f, 1.0f, 0.0f,  20.0f, 3.0f,  50.0f}},
    {"ATSC A/85 -2 dBTP",          {  0.0f, 0.04f, 0.3f,  0.001f,  1.0f, -2.0f, 0.0f, 40.0f, 1.0f, 0.0f,  20.0f, 3.0f,  50.0f}},
    {"+6 dB gain",                 {  6.0f, 0.04f, 0.4f,  0.001f,  0.0f,  0.0f, 0.0f, 35.0f, 1.0f, 0.0f,  30.0f, 0.0f,   0.0f}},
    {"+10 dB gain",                { 10.0f, 0.04f, 0.5f,  0.001f,  0.0f,  0.0f, 0.0f, 35.0f, 1.0f, 0.0f,  40.0f, 0.0f,   0.0f}},
    {"Bass-heavy CD master",       {  0.0f, 0.04f, 0.4f,  0.0015f, 1.0f, -0.1f, 0.0f, 35.0f, 1.0f, 0.0f,  40.0f, 2.0f, 100.0f}},
    {"Clean CD master",            {  0.0f, 0.02f, 0.6f,  0.001f,  1.0f, -0.5f, 0.0f, 35.0f, 1.0f, 0.0f,  20.0f, 2.0f, 100.0f}},
    {"+6 dB true peak headroom",   {  0.0f, 0.04f, 0.4f,  0.001f,  1.0f, -6.0f, 0.0f, 35.0f, 1.0f, 0.0f,  30.0f, 0.0f,   0.0f}},
    {"+10 dB true peak headroom",  {  0.0f, 0.04f, 0.5f,  0.001f,  1.0f, -10.0f, 0.0f, 35.0f, 1.0f, 0.0f, 40.0f, 0.0f,   0.0f}},
    {"Push it to the limit",       { 10.0f, 0.08f, 0.4f,  0.001f,  0.0f,  0.0f, 0.0f,  0.0f, 1.0f, 0.0f,  80.0f, 0.0f,   0.0f}},
    {"Vintage limiter",            {  6.0f, 0.0f,  0.15f, 0.001f,  0.0f,  0.0f, 0.0f,  0.0f, 1.0f, 0.0f,   0.0f, 0.0f,   0.0f}},
    {"Solid low end",              {  6.0f, 0.04f, 0.4f,  0.003f,  0.0f,  0.0f, 0.0f, 50.0f, 1.0f, 0.0f,  30.0f, 0.0f,   0.0f}},
    {"Edgy",                       {  6.0f, 0.2f,  0.2f,  0.001f,  0.0f,  0.0f, 0.0f, 50.0f, 1.0f, 0.0f,  90.0f, 0.0f,   0.0f}},
    {"Add warmth",                 {  6.0f, 0.2f,  0.2f,  0.0004f, 0.0f,  0.0f, 0.0f,  0.0f, 1.0f, 0.0f, 100.0f, 0.0f,   0.0f}},
    {"Transient squeezer",         {  0.0f, 0.09f, 0.2f,  0.001f,  0.0f, -5.0f, 0.0f,  0.0f, 1.0f, 1.0f, 100.0f, 0.0f,   0.0f}},
};
