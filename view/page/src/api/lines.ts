// SPDX-License-Identifier: GPL-3.0-or-later
// Lines of JSON out of a stream of bytes that is cut anywhere.

/** Yields the values of whole lines; what follows the last line end counts as a line too. */
export async function* jsonLines<T>(pieces: AsyncIterable<Uint8Array>): AsyncGenerator<T> {
  const decoder = new TextDecoder();
  let rest = "";
  for await (const piece of pieces) {
    const lines = (rest + decoder.decode(piece, { stream: true })).split("\n");
    rest = lines.pop() ?? "";
    for (const line of lines) if (line.trim() !== "") yield JSON.parse(line) as T;
  }
  rest += decoder.decode();
  if (rest.trim() !== "") yield JSON.parse(rest) as T;
}

/** The pieces of an answer's body, in every browser. */
export async function* pieces(body: ReadableStream<Uint8Array>): AsyncGenerator<Uint8Array> {
  const reader = body.getReader();
  let ended = false;
  try {
    for (;;) {
      const { done, value } = await reader.read();
      ended = done;
      if (done) return;
      yield value;
    }
  } finally {
    // A loop that is left early closes the connection, which ends the work behind it.
    if (!ended) await reader.cancel().catch(() => undefined);
  }
}
