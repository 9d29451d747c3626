// Type declarations for the Vellmar 2 editor elements created by vellmar.js.

/** The names the editor reports in a `propertychange` event's detail. */
export interface VellmarPropertyChange {
  name: string;
}

/** How getContent returns the document: 0 the cleaned body HTML, 1 the body's plain text. */
export type VellmarContentMethod = 0 | 1 | number;

/**
 * An `<object type="application/x-vellmar">` or `<vellmar-editor>` element once the editor has
 * attached to it. Every property of the editor is available by its public name: text properties
 * as strings, switches and other numeric properties as numbers.
 */
export interface VellmarEditorElement extends HTMLElement {
  getContent(contentType: VellmarContentMethod): string;
  getBodyHTML(): string;
  /** The ordered (key, value) pairs a save of the properties writes, e.g. for `<param>` tags. */
  writeProperties(): Array<[string, string | number]>;
  /**
   * The text of the current debug log file (written while `DebugMode` is 1, kept in the
   * origin-private file system); "" when no log file was opened.
   */
  getDebugLog(): Promise<string>;
  /**
   * Shows `html` in the editor's modal message window (sizes in twips, 0 for the default size;
   * `showTabs` adds the "HTML Source" tab). Resolves when the user closes the window. Scripts in
   * the message never run.
   */
  showMessage(html: string, caption?: string, label?: string, width?: number, height?: number,
    showTabs?: boolean): Promise<void>;

  domain: string;
  port: string;
  [property: string]: unknown;

  addEventListener(type: 'Loaded', listener: (event: CustomEvent<undefined>) => void): void;
  addEventListener(
    type: 'propertychange',
    listener: (event: CustomEvent<VellmarPropertyChange>) => void,
  ): void;
  addEventListener(type: string, listener: EventListenerOrEventListenerObject): void;
}

export interface VellmarGlobal {
  /** Resolves once the module is loaded and the page's editors are attached. */
  ready: Promise<VellmarGlobal>;
  version(): string | undefined;
}

declare global {
  interface Window {
    Vellmar: VellmarGlobal;
  }
  interface HTMLElementTagNameMap {
    'vellmar-editor': VellmarEditorElement;
  }
}
