export const Mail = () => ({ properties: {} });
