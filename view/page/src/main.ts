import { Api, ApiError } from "./api/client";
import { showNotice } from "./notice";

async function start(): Promise<void> {
  const api = new Api();
  const project = await api.project();
  document.title = `${project.name} - Orvix`;
}

start().catch((error: unknown) => {
  showNotice(error instanceof ApiError ? error.message : `The page cannot start: ${String(error)}`);
});
