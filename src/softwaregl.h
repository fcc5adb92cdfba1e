#pragma once

// True when the current context's renderer executes GL on the CPU (Mesa's llvmpipe or softpipe,
// SwiftShader), or names no renderer at all. Needs a current context.
bool IsSoftwareGLRenderer();
